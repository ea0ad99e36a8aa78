// `cGdiPlus`: saves a picture to an image file over the GDI+ flat API. The encoder comes from the
// file name's extension ("*.PNG", "*.JPG", ... as GDI+ lists them); JPEG names also pass a quality.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "imaging/image_export.hpp"

namespace synthor::imaging {

// What a picture control hands over: its bitmap and, for palette bitmaps, the palette.
struct Picture {
    HBITMAP bitmap = nullptr;
    HPALETTE palette = nullptr;
};

class cGdiPlus {
  public:
    // Starts GDI+ and reads its encoders; a failing start raises `onError` (the `Error` event)
    // and leaves the index empty.
    explicit cGdiPlus(ErrorHandler onError = {});
    ~cGdiPlus();
    cGdiPlus(const cGdiPlus&) = delete;
    cGdiPlus& operator=(const cGdiPlus&) = delete;

    // Saves `pic` to sFilename with the encoder its extension names; nothing is written for an
    // unknown extension. Names whose extension starts with "J" pass lQuality as the JPEG quality.
    void PictureBoxToFile(const Picture& pic, std::string_view sFilename, std::int32_t lQuality);

    // The text for a GDI+ status.
    static std::string GdiErrorString(long lGdiError);

    // Each extension pattern GDI+ lists ("*.BMP") and its encoder's number in the table.
    const ExtensionIndex& extensionIndex() const { return index_; }

  private:
    void raise(long status);

    ErrorHandler onError_;
    ULONG_PTR token_ = 0;
    std::vector<unsigned char> encoders_;  // the ImageCodecInfo array GDI+ fills
    ExtensionIndex index_;
};

// A picture of a window as it is on screen, frame and title bar included; the caller deletes it.
HBITMAP captureWindow(HWND window);

}  // namespace synthor::imaging
