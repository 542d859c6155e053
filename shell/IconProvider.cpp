#include "shell/IconProvider.h"

#include <QByteArray>
#include <QPointer>
#include <QQmlContext>
#include <QQmlEngine>
#include <QRegularExpression>
#include <QResource>
#include <QUrl>
#include <QtEndian>
#include <private/qquickimage_p.h>

#include <algorithm>

namespace QSP {

namespace {

const QString providerId = QStringLiteral("qspicon");
constexpr int headerSize = 12; // "QSPI", width, height
constexpr int maxSide = 4096;

QPointer<QQmlEngine> &installedEngine()
{
    static QPointer<QQmlEngine> engine;
    return engine;
}

} // namespace

IconProvider::IconProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{}

QImage IconProvider::icon(const QString &name)
{
    static const QRegularExpression valid(QStringLiteral("^[A-Za-z0-9_@]+$"));
    if (!valid.match(name).hasMatch())
        return {};
    const QResource resource(QStringLiteral(":/setting/icons/") + name + QStringLiteral(".icon"));
    if (!resource.isValid())
        return {};
    // Stored uncompressed, the pixels stay where the library has them; otherwise they are unpacked.
    if (resource.compressionAlgorithm() != QResource::NoCompression)
        return decode(resource.uncompressedData());
    return view(
        QByteArray::fromRawData(reinterpret_cast<const char *>(resource.data()), int(resource.size())));
}

QImage IconProvider::decode(const QByteArray &bytes)
{
    return view(bytes).copy();
}

QImage IconProvider::view(const QByteArray &bytes)
{
    if (bytes.size() < headerSize || !bytes.startsWith("QSPI"))
        return {};
    const quint32 width = qFromLittleEndian<quint32>(bytes.constData() + 4);
    const quint32 height = qFromLittleEndian<quint32>(bytes.constData() + 8);
    if (width < 1 || height < 1 || width > maxSide || height > maxSide ||
        quint64(bytes.size()) != headerSize + quint64(width) * height * 4)
        return {};

    const auto *pixels = reinterpret_cast<const uchar *>(bytes.constData() + headerSize);
    if (QSysInfo::ByteOrder == QSysInfo::LittleEndian)
        return QImage(pixels, int(width), int(height), int(width * 4), QImage::Format_ARGB32_Premultiplied);
    QImage image(int(width), int(height), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < int(height); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < int(width); ++x, pixels += 4)
            line[x] = qFromLittleEndian<quint32>(pixels);
    }
    return image;
}

QImage IconProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    QImage image = icon(id);
    if (!image.isNull()) {
        // As Qt scales a decoded image to an Image's sourceSize: down only, by the smaller ratio.
        qreal ratio = 1;
        if (requestedSize.width() > 0 && requestedSize.width() < image.width())
            ratio = qreal(requestedSize.width()) / image.width();
        if (requestedSize.height() > 0 && requestedSize.height() < image.height())
            ratio = std::min(ratio, qreal(requestedSize.height()) / image.height());
        if (ratio < 1)
            image = image.scaled(std::max(1, qRound(image.width() * ratio)),
                                 std::max(1, qRound(image.height() * ratio)), Qt::IgnoreAspectRatio,
                                 Qt::SmoothTransformation);
    }
    if (size)
        *size = image.size();
    return image;
}

void IconProvider::install(QQmlEngine *engine)
{
    if (!engine)
        return;
    installedEngine() = engine;
    if (!engine->imageProvider(providerId))
        engine->addImageProvider(providerId, new IconProvider);
}

void IconProvider::setSource(QQuickImage *image, const QUrl &source)
{
    if (!image)
        return;
    if (!qmlContext(image)) {
        QQmlContext *context = nullptr;
        for (QObject *up = image->parentItem() ? image->parentItem() : image->parent(); up && !context;
             up = up->parent())
            context = qmlContext(up);
        if (!context && installedEngine())
            context = installedEngine()->rootContext();
        if (!context)
            return; // no engine to load it: the image stays empty
        QQmlEngine::setContextForObject(image, context);
    }
    image->setSource(source);
}

} // namespace QSP
