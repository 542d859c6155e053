// The serial number's QR code as the Version card draws it: the first byte picks the image size, the rest
// is the serial number's text (UTF-8).

#include "cards/CardVersion.h"

#include <QGuiApplication>
#include <QImage>
#include <QString>

#include <qrcodegen.hpp>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Kept for the whole run, reachable (not destroyed at exit, so never reported as a leak).
    static QGuiApplication *app = new QGuiApplication(*argc, *argv);
    Q_UNUSED(app)
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const int imageSize = 1 + int(data[0]) * 2; // 1 to 511 pixels, about what the card's three layouts use
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data + 1), int(size - 1));

    const QImage image = QSP::CardVersion::makeQRCodeImage(text, imageSize);
    if (image.isNull() || image.width() != imageSize || image.height() != imageSize)
        std::abort();

    // Only black modules on white: no grey from the antialiased painter.
    bool anyDark = false;
    for (int y = 0; y < imageSize; ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < imageSize; ++x) {
            const QRgb pixel = line[x] & 0xFFFFFF;
            if (pixel != 0 && pixel != 0xFFFFFF)
                std::abort();
            anyDark = anyDark || pixel == 0;
        }
    }

    // A text that fits in a symbol with whole-pixel modules is drawn; one that does not leaves it blank.
    int modules = 0;
    try {
        modules =
            qrcodegen::QrCode::encodeText(text.toStdString().c_str(), qrcodegen::QrCode::Ecc::HIGH).getSize();
    } catch (const std::exception &) {
        modules = 0;
    }
    const int border = (imageSize / 20) * 2;
    const bool drawable = modules > 0 && (imageSize - border) / modules > 0;
    if (anyDark != drawable)
        std::abort();

    if (QSP::CardVersion::makeQRCodeImage(text, 0).isNull() == false)
        std::abort();
    return 0;
}
