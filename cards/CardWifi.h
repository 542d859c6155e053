#pragma once

#include "systemset/SystemSet.h"

#include <QMetaType>
#include <QPointer>
#include <QString>
#include <QVector>
#include <QtQuickTemplates2/private/qquickcontrol_p.h>

#include <memory>
#include <vector>

class QQuickBasePositioner;
class QQuickImage;
class QQuickText;

namespace QSP {

class BeepButton;
class Dialog;
class WifiConnection;
class WifiList;
class WifiPasswordDialog;

/// The card of the Wi-Fi page: the network the panel is connected to (with a Reset button), and one row
/// per network found by the last scan (with a refresh button and a spinner while scanning). Tapping a
/// nearby network opens the password dialog and connects.
///
/// The card also owns the page's return button in the title bar; the root item decides where it leads.
/// Scan, reset, connect and DHCP results arrive on the system's own threads and are handed to the card's
/// thread before anything is touched.
///
/// Nearby rows are kept from one scan to the next and refilled in place; a long list gets its rows in
/// batches over several turns of the event loop, so that a crowded site never freezes the screen.
///
/// The card holds its state, the scan and reset buttons and the return button; its parts hold the rest:
/// WifiList (the connected row and the nearby rows), WifiPasswordDialog and WifiConnection (the attempt to
/// connect and what follows it).
class CardWifi : public QQuickControl
{
    Q_OBJECT
    /// Height of the settings screen's title bar when the card was made.
    Q_PROPERTY(int titleHeight READ titleHeight WRITE setTitleHeight NOTIFY titleHeightChanged)
    /// Pixel size of the card's texts; the password dialog uses four fifths of it.
    Q_PROPERTY(int fontSize READ fontSize WRITE setFontSize NOTIFY fontSizeChanged)
    /// Height of every row of the card, derived from the screen when the card was made.
    Q_PROPERTY(double rowHeight READ rowHeight CONSTANT)
    /// Whether a scan is under way or its result is still being listed (false once every row shows it).
    Q_PROPERTY(bool listing READ isListing NOTIFY listingChanged)

public:
    /// What the card is doing.
    enum CardState {
        Idle = 0,       ///< nothing under way
        Scanning = 1,   ///< a scan or a Wi-Fi reset is under way
        Connecting = 2, ///< a connection attempt is under way
        Online = 3,     ///< connected; the card is obtaining an address and refreshing
    };
    Q_ENUM(CardState)

    /// How long a connection attempt may go without a final outcome before it counts as timed out.
    static constexpr int CONNECT_TIMEOUT_MS = 60000;
    /// The most nearby networks listed; a scan that finds more lists the first ones. Wi-Fi services keep far
    /// fewer (wpa_supplicant's table holds 200 by default), and every row costs some 12 KiB and layout time
    /// for as long as the card lives.
    static constexpr int MAX_ROWS = 1000;

    /// One nearby network, in the order of the scan result.
    struct WIFI_INFO
    {
        QQuickItem *item = nullptr; ///< its row in the column (the row at the same position)
        HMI::SSID ssid{};           ///< raw name bytes, byte 32 always 0
        QString password;           ///< known from the scan, then what the user typed
        quint8 needPassword = 0;    ///< non-zero: the network needs a password
        quint8 strength = 0;        ///< signal strength 0..100
    };

    explicit CardWifi(QQuickItem *parent = nullptr);
    ~CardWifi() override;

    int titleHeight() const { return m_titleHeight; }
    void setTitleHeight(int height);
    int fontSize() const { return m_fontSize; }
    void setFontSize(int size);
    double rowHeight() const { return m_base * 0.875; }
    /// The card's size unit (48 on a 1024 pixels wide screen): rows, icons and the return button derive
    /// from it.
    int baseSize() const { return m_base; }

    CardState state() const { return m_cardState; }
    /// Stores @p state and emits cardStateChanged() when it differs.
    void setState(CardState state);

    /// The left arrow that leaves the page (placed in the title bar).
    Q_INVOKABLE QQuickItem *returnButton() const;

    /// Starts a scan, unless a scan, a reset or a connection attempt is under way.
    void scanWifi();
    /// Replaces the nearby rows by those of @p list (a null list leaves none). The first rows show at once;
    /// a long list is completed on later turns of the event loop, and a newer result replaces what is left.
    void onScanResult(std::unique_ptr<std::vector<HMI::SystemSet::SsidInfo>> list);
    /// Takes every nearby row away (the rows are hidden and kept for the next scan).
    void clearWifiList();
    /// Shows @p record in the row at @p index, made when no earlier scan needed that many; a tap on it
    /// starts connecting to list entry @p index.
    QQuickItem *addItem(const HMI::SystemSet::SsidInfo &record, int index);
    /// Builds the connected row's icon, name and tick on first use.
    void addCurItem();
    /// Shows the connected network (and hides its nearby rows); also run on the network card's report.
    Q_INVOKABLE void updateCurrentWifi();
    /// Refreshes the connected row's signal icon; a strength below 1 keeps the icon shown.
    Q_INVOKABLE void updateSignalStrength();

    static bool isConnected();
    /// The connected network's name, empty when not connected.
    static QString getSsid();
    /// A scanned name, decoded as ssidText() decodes every name.
    static QString getSsidFromScan(const HMI::SSID &ssid);
    /// The connected network's name, decoded as the scanned ones are.
    static QString getSsidFromCurWifi(const HMI::SSID &ssid);

    /// The first nearby entry named @p ssid (all 33 bytes equal), or null.
    WIFI_INFO *findWifiBySsid(const HMI::SSID &ssid);
    WIFI_INFO *findWifiByCurrentSsid();
    /// The nearby networks that have their row so far (all of the last scan once it is listed).
    const QVector<WIFI_INFO> &wifiList() const;

    /// A tap on the nearby row at list @p index: open the dialog and, when no typing is needed, connect.
    void onClickWifiItem(int index);
    /// Opens the password dialog for the selected network, or shows the attempt under way.
    void openPwDialog();
    /// Builds the password dialog (once).
    void addDialog();
    Dialog *passwordDialog() const;
    /// Handles one progress report of a connection attempt.
    void onConnectResult(HMI::SystemSet::StateWifi result);
    /// Connected: make sure the adapter has an address, then close the dialog.
    void update_afterOnLine();
    void setDhcpAndUpdateCurWifi();
    void closeDialog_and_updateCurWifiInfo();
    /// The time a connection attempt is given, in milliseconds (CONNECT_TIMEOUT_MS unless a test shortens
    /// it).
    int connectTimeout() const;
    void setConnectTimeout(int ms);

    /// A text of the card in the current language.
    static QString translated(const char *source);

    bool isListing() const;

Q_SIGNALS:
    void listingChanged();
    void titleHeightChanged();
    void fontSizeChanged();
    void cardStateChanged();
    void connectedChanged(bool connected);
    void wifiReset();
    void isScanningChanged();

public Q_SLOTS:
    void onColumnHeightChanged();
    void onClickScanWifi();
    void connectWifi(HMI::SSID wifiname, QString password);
    void onClickConFirm();
    void onWifiReset();
    void adjustPwDialog();

protected:
    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

private:
    void addReturnButton();
    void addResetButton(QQuickItem *row);
    void updateButtonsForState();

    CardState m_cardState = Idle;
    quint16 m_base = 48;
    quint16 m_minHeight = 0;
    int m_titleHeight = 0;
    int m_fontSize = 20;

    // From the document (not owned).
    QQuickBasePositioner *m_column = nullptr;
    QQuickText *m_connectedWlanText = nullptr;
    QQuickText *m_nearbyWlanText = nullptr;
    BeepButton *m_scanButton = nullptr;
    QQuickItem *m_scanButtonImage = nullptr;
    QQuickImage *m_spinner = nullptr;
    QQuickItem *m_nearWlanTxt = nullptr;

    // Made by the card.
    QPointer<BeepButton> m_returnButton; ///< owned by the root item
    BeepButton *m_resetButton = nullptr;

    // The parts, children of the card.
    WifiList *m_list = nullptr;
    WifiPasswordDialog *m_passwordDialog = nullptr;
    WifiConnection *m_connection = nullptr;
};

} // namespace QSP

Q_DECLARE_METATYPE(HMI::SSID)
