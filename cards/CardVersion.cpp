#include "cards/CardVersion.h"

#include "shell/AppRootItem.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "systemset/MeyerSingleton.h"
#include "systemset/SystemSet.h"

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QStandardPaths>
#include <QtQml/qqml.h>
#include <QtQuick/private/qquickimagebase_p.h>
#include <QtQuick/private/qquicktext_p.h>

#include <qrcodegen.hpp>

#include <exception>
#include <string>
#include <vector>

namespace QSP {

namespace {

/// A serial number equal to the placeholder's own source text is not a number worth showing.
const QString PlaceholderSerial = QStringLiteral("QR Code");
/// Image.Error, as QML reports a failed load.
constexpr int ImageErrorStatus = QQuickImageBase::Error;

} // namespace

CardVersion::CardVersion(QQuickItem *parent)
    : BaseCard(parent)
    , m_versionTitleRowHeight(int(GlobalInfo::instance().rowUnit()))
{}

void CardVersion::componentComplete()
{
    BaseCard::componentComplete();

    m_titleText = documentPart<QQuickText>(this, "titleText");
    m_qrCodeText = documentPart<QQuickText>(this, "qrCodeText");
    m_serialNumberLabel = documentPart<QQuickText>(this, "serialNumberLabel");
    setMultilingualText(m_titleText, [] { return QCoreApplication::translate("CardVersion", "Cloud Info"); });
    setMultilingualText(m_qrCodeText, [] { return QCoreApplication::translate("CardVersion", "QR Code"); });
    setMultilingualText(m_serialNumberLabel,
                        [] { return QCoreApplication::translate("CardVersion", "Serial Number"); });

    loadSerialNumber();
}

void CardVersion::checkIconStatus(int status)
{
    const bool error = status == ImageErrorStatus;
    if (error == m_iconError)
        return;
    m_iconError = error;
    Q_EMIT iconErrorChanged();
}

void CardVersion::loadSerialNumber()
{
    const QString serial =
        QString::fromStdString(MeyerSingleton<HMI::SystemSet>::instance().getSerialNumber());

    const QString shown = serial == PlaceholderSerial ? QString() : serial;
    if (shown != m_serialNumber) {
        m_serialNumber = shown;
        Q_EMIT serialNumberChanged();
    }

    // An empty symbol cannot be drawn: a lone space still gives the reader something to show.
    createQRCodeImage(serial.isEmpty() ? QStringLiteral(" ") : serial, int(m_versionTitleRowHeight * 3.1));
}

QImage CardVersion::makeQRCodeImage(const QString &text, int size)
{
    if (size <= 0)
        return QImage();

    int modules = 0;
    std::vector<bool> dark;
    try {
        const std::string utf8 = text.toStdString();
        const qrcodegen::QrCode code =
            qrcodegen::QrCode::encodeText(utf8.c_str(), qrcodegen::QrCode::Ecc::HIGH);
        modules = code.getSize();
        dark.reserve(size_t(modules) * size_t(modules));
        for (int y = 0; y < modules; ++y) {
            for (int x = 0; x < modules; ++x)
                dark.push_back(code.getModule(x, y));
        }
    } catch (const std::exception &e) {
        // More than the largest symbol holds: the image stays blank rather than showing a wrong code.
        qWarning("CardVersion: no QR code for a serial number of %d bytes: %s", int(text.toUtf8().size()),
                 e.what());
        modules = 0;
    }

    // Whole-pixel modules only; what is left over becomes the quiet zone, split evenly.
    const int border = (size / 20) * 2;
    const int moduleSize = modules > 0 ? (size - border) / modules : 0;
    const int offset = (size - moduleSize * modules) / 2;

    QImage image(size, size, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, true);
        for (int y = 0; y < modules; ++y) {
            for (int x = 0; x < modules; ++x) {
                painter.fillRect(
                    QRect(offset + x * moduleSize, offset + y * moduleSize, moduleSize, moduleSize),
                    dark[size_t(y) * size_t(modules) + size_t(x)] ? Qt::black : Qt::white);
            }
        }
    }
    return image;
}

bool CardVersion::createQRCodeImage(const QString &text, int size)
{
    if (size <= 0)
        return false;
    const QImage image = makeQRCodeImage(text, size);

    // No usable temporary directory comes back empty: never fall back to the working or root directory.
    const QString directory = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    if (directory.isEmpty()) {
        qWarning("CardVersion: could not write the QR code: no temporary directory");
        return false;
    }
    QDir dir(directory);
    if (!dir.exists())
        dir.mkpath(QStringLiteral("."));
    const QString path = directory + QStringLiteral("/barcodeImg.png");
    if (!image.save(path, "PNG")) {
        qWarning("CardVersion: could not write the QR code to %s", qPrintable(path));
        return false;
    }

    const QUrl url = QUrl::fromLocalFile(path);
    const bool sameUrl = url == m_qrCodeUrl;
    m_qrCodeUrl = url;
    Q_EMIT qrCodeUrlChanged();
    // The same URL is not loaded again by the image that shows it, yet the file under it is new.
    if (sameUrl)
        reloadImagesOf(url);
    return true;
}

void CardVersion::reloadImagesOf(const QUrl &url)
{
    QList<QQuickItem *> pending = childItems();
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeLast();
        pending += item->childItems();
        auto *image = qobject_cast<QQuickImageBase *>(item);
        if (image && image->source() == url) {
            image->setSource(QUrl());
            image->setSource(url);
        }
    }
}

} // namespace QSP
