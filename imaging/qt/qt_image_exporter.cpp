#include "imaging/qt/qt_image_exporter.hpp"

#include <QImage>
#include <QImageWriter>
#include <QMimeDatabase>
#include <QStringList>

namespace synthor::imaging {
namespace {

// Qt's writer errors as the encoder statuses of the error texts.
long statusOf(QImageWriter::ImageWriterError error) {
    switch (error) {
        case QImageWriter::DeviceError:
            return 7;  // "Win32 Error": the system refused the file
        case QImageWriter::UnsupportedFormatError:
            return 13;  // "Unknown Image Format"
        case QImageWriter::InvalidImageError:
            return 2;  // "Invalid Parameter"
        default:
            return 1;  // "Generic Error"
    }
}

}  // namespace

QtImageExporter::QtImageExporter() {
    const QMimeDatabase mimes;
    for (const QByteArray& mimeName : QImageWriter::supportedMimeTypes()) {
        const QMimeType mime = mimes.mimeTypeForName(QString::fromLatin1(mimeName));
        const QList<QByteArray> formats = QImageWriter::imageFormatsForMimeType(mimeName);
        if (!mime.isValid() || formats.isEmpty()) continue;
        const QStringList patterns = mime.globPatterns();
        encoders_.push_back({mimeName.toStdString(), patterns.join(';').toUpper().toStdString()});
        formats_.push_back(formats.front());
    }
    index_ = ExtensionIndex(encoders_);
}

bool QtImageExporter::PictureBoxToFile(const QImage& picture, const std::string& filename,
                                       long quality) {
    const auto plan = planSave(index_, filename, quality);
    if (!plan) return false;
    QImageWriter writer(QString::fromStdString(filename),
                        formats_[static_cast<std::size_t>(plan->encoder)]);
    if (plan->quality) writer.setQuality(static_cast<int>(*plan->quality));
    if (writer.write(picture)) return true;
    const long status = statusOf(writer.error());
    if (onError) onError(status, status, std::string(GdiErrorString(status)));
    return false;
}

}  // namespace synthor::imaging
