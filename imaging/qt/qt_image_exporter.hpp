// Saving a picture to an image file through Qt's image writers (the Linux backend of the image
// exporter): the writers' formats make the encoder table, the portable rules pick the encoder.
#pragma once

#include <string>
#include <vector>

#include "imaging/image_export.hpp"

class QImage;
class QByteArray;

namespace synthor::imaging {

class QtImageExporter {
  public:
    QtImageExporter();

    // One encoder per image type Qt can write, with that type's file-name patterns.
    const std::vector<EncoderInfo>& encoders() const { return encoders_; }

    // Saves the picture in the format the file name's extension names, with the quality for a
    // "J" extension. Writes nothing for an unknown extension; a failing write raises `onError`.
    // Returns true when the file was written.
    bool PictureBoxToFile(const QImage& picture, const std::string& filename, long quality);

    ErrorHandler onError;

  private:
    std::vector<EncoderInfo> encoders_;
    std::vector<QByteArray> formats_;  // Qt's format name of each encoder
    ExtensionIndex index_;
};

}  // namespace synthor::imaging
