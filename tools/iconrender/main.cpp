// iconrender: rasterises one SVG icon into a raw icon of a fixed pixel size.
//
//   iconrender <input.svg> <output.icon> <width> <height>
//
// The output is what the screen shows without decoding anything: the four bytes "QSPI", the width and the
// height as 32-bit little-endian numbers, then the pixels row by row, each a 32-bit little-endian
// premultiplied 0xAARRGGBB value (shell/IconProvider reads it).
//
// Runs at build time on the build host, so it must not need a display: it only uses
// QSvgRenderer, QImage and QPainter, which all work without a QGuiApplication.

#include <QByteArray>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QString>
#include <QSvgRenderer>
#include <QtEndian>

#include <cstdio>

namespace {

constexpr int kMaxSide = 4096;

int fail(const QString &message)
{
    std::fprintf(stderr, "iconrender: %s\n", message.toLocal8Bit().constData());
    return 1;
}

bool parseSide(const char *text, int *side)
{
    bool ok = false;
    const int value = QString::fromLocal8Bit(text).trimmed().toInt(&ok);
    if (!ok || value < 1 || value > kMaxSide)
        return false;
    *side = value;
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: iconrender <input.svg> <output.icon> <width> <height>\n");
        return 2;
    }

    const QString input = QString::fromLocal8Bit(argv[1]);
    const QString output = QString::fromLocal8Bit(argv[2]);

    int width = 0;
    int height = 0;
    if (!parseSide(argv[3], &width) || !parseSide(argv[4], &height))
        return fail(QStringLiteral("bad size '%1x%2' (each side must be 1..%3)")
                        .arg(QString::fromLocal8Bit(argv[3]), QString::fromLocal8Bit(argv[4]))
                        .arg(kMaxSide));

    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot read '%1': %2").arg(input, file.errorString()));
    const QByteArray data = file.readAll();
    file.close();

    QSvgRenderer renderer;
    if (data.isEmpty() || !renderer.load(data) || !renderer.isValid())
        return fail(QStringLiteral("'%1' is not a valid SVG document").arg(input));
    if (renderer.viewBoxF().isEmpty())
        return fail(QStringLiteral("'%1' has an empty view box").arg(input));

    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return fail(QStringLiteral("cannot allocate a %1x%2 image").arg(width).arg(height));
    image.fill(Qt::transparent);

    {
        QPainter painter(&image);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        renderer.render(&painter, QRectF(0, 0, width, height));
    }

    QByteArray raw("QSPI");
    raw.resize(12 + width * height * 4);
    qToLittleEndian<quint32>(quint32(width), raw.data() + 4);
    qToLittleEndian<quint32>(quint32(height), raw.data() + 8);
    char *pixel = raw.data() + 12;
    for (int y = 0; y < height; ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < width; ++x, pixel += 4)
            qToLittleEndian<quint32>(line[x], pixel);
    }
    QFile out(output);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate) || out.write(raw) != raw.size())
        return fail(QStringLiteral("cannot write '%1': %2").arg(output, out.errorString()));
    return 0;
}
