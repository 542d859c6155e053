#pragma once

#include "shell/BaseCard.h"

#include <QImage>
#include <QUrl>

class QQuickText;

namespace QSP {

/// The Version page's card: the panel's serial number, and a QR code of it drawn into a PNG file in the
/// temporary directory, under the caption "Cloud Info".
///
/// The look is in card/Version.qml, which shows the image through qrCodeUrl.
class CardVersion : public BaseCard
{
    Q_OBJECT
    /// The card's unit, the height of the caption row: the screen's row unit in whole pixels.
    Q_PROPERTY(int versionTitleRowHeight READ versionTitleRowHeight CONSTANT)
    /// Whether the caption's icon failed to load (a red "!" stands in for it).
    Q_PROPERTY(bool iconError READ iconError NOTIFY iconErrorChanged)
    /// The serial number as shown; empty when the system has none.
    Q_PROPERTY(QString serialNumber READ serialNumber NOTIFY serialNumberChanged)
    /// Local-file URL of the QR image; empty until an image has been written.
    Q_PROPERTY(QUrl qrCodeUrl READ qrCodeUrl NOTIFY qrCodeUrlChanged)

public:
    explicit CardVersion(QQuickItem *parent = nullptr);

    int versionTitleRowHeight() const { return m_versionTitleRowHeight; }
    bool iconError() const { return m_iconError; }
    QString serialNumber() const { return m_serialNumber; }
    QUrl qrCodeUrl() const { return m_qrCodeUrl; }

    /// Follows the caption icon's load status (an Image.status value).
    Q_INVOKABLE void checkIconStatus(int status);
    /// Reads the serial number from the system, shows it and redraws its QR code.
    Q_INVOKABLE void loadSerialNumber();
    /// Draws the QR code of @p text into a @p size × @p size image, writes it to "barcodeImg.png" in the
    /// temporary directory and publishes its URL; false (the URL left as it was) when it cannot be written.
    bool createQRCodeImage(const QString &text, int size);
    /// The QR code of @p text (error correction level H) drawn into a @p size × @p size image: whole-pixel
    /// modules centred in a white quiet zone; all white when @p text does not fit in a symbol. Null when
    /// @p size is not positive.
    static QImage makeQRCodeImage(const QString &text, int size);

Q_SIGNALS:
    void iconErrorChanged();
    void serialNumberChanged();
    void qrCodeUrlChanged();

protected:
    void componentComplete() override;

private:
    void reloadImagesOf(const QUrl &url);

    int m_versionTitleRowHeight = 0;
    bool m_iconError = false;
    QString m_serialNumber;
    QUrl m_qrCodeUrl;
    QQuickText *m_titleText = nullptr;
    QQuickText *m_qrCodeText = nullptr;
    QQuickText *m_serialNumberLabel = nullptr;
};

} // namespace QSP
