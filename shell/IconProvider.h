#pragma once

#include <QImage>
#include <QQuickImageProvider>
#include <QSize>
#include <QString>

class QQmlEngine;
class QQuickImage;
class QUrl;

namespace QSP {

/// Serves the screen's icons as image://qspicon/<name>.
///
/// The build renders every icon into the resources as raw pixels (:/setting/icons/<name>.icon, see
/// tools/iconrender): the icon is shown straight from the library's memory, with no image format to decode
/// and no image plug-ins to look up. A name that is not there, or a malformed icon, gives a null image.
class IconProvider : public QQuickImageProvider
{
public:
    IconProvider();

    /// The icon @p id, scaled down (never up, keeping its aspect ratio) to fit @p requestedSize.
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

    /// The icon @p name at its own size, or a null image.
    static QImage icon(const QString &name);
    /// The icon in @p bytes (the format tools/iconrender writes), or a null image when they are not one.
    static QImage decode(const QByteArray &bytes);
    /// Adds the provider to @p engine unless it has one already.
    static void install(QQmlEngine *engine);
    /// Sets @p source on an image made in C++. Such an image has no QML context, and an image provider is
    /// found through its context's engine: it is given the context of the nearest item that has one, or the
    /// root context of the engine the provider was last installed in.
    static void setSource(QQuickImage *image, const QUrl &source);

private:
    /// As decode(), but on little-endian machines the image uses @p bytes' own memory.
    static QImage view(const QByteArray &bytes);
};

} // namespace QSP
