#pragma once

#include "shell/BaseCard.h"
#include "systemset/SystemSet.h"

#include <QHash>
#include <QList>
#include <QMetaType>
#include <QString>

class QColor;
class QQmlEngine;
class QQuickImage;
class QQuickText;

namespace QSP {

class BeepButton;
class BeepSwitch;
class CIpInput;
class CMacInput;
class ComboBox;
class Modem4G;
class NetworkAdapters;
class VpnStatus;
class WifiSummary;

/// The card of the Network page: one button per network interface of the panel and, below them, the rows
/// of the selected interface only.
///
/// Wired and Wi-Fi adapters get "Disable Network", "Static IP", their three addresses and the MAC; the Wi-Fi
/// adapter also a summary row that leads to the Wi-Fi page. The 4G modem shows its signal and state, the VPN
/// its server and state, each refreshed by a timer that runs only while that interface is selected. Rows are
/// built the first time an interface is selected and kept. The switches are the truth for what may be
/// edited, so that the screen follows a touch at once; everything shown is read back from the system.
///
/// The card holds the adapter buttons and the selection, builds the rows and decides which status polls run;
/// the interfaces' rows and their state are its parts': NetworkAdapters (wired and Wi-Fi), WifiSummary,
/// Modem4G and VpnStatus.
class CardNetwork : public BaseCard
{
    Q_OBJECT
    /// Unit height of the rows; the rows are fractions of it (62 on a 1024 pixels wide screen).
    Q_PROPERTY(int rowHeight READ rowHeight WRITE setRowHeight NOTIFY rowHeightChanged)
    /// Pixel size of the card's texts.
    Q_PROPERTY(int fontPixelSize READ fontPixelSize WRITE setFontPixelSize NOTIFY fontPixelSizeChanged)
    /// The selected interface as its HMI::SystemSet::NIC value; 0 while none is selected.
    Q_PROPERTY(int currentNIC READ currentNIC NOTIFY currentNICChanged)

public:
    using NIC = HMI::SystemSet::NIC;

    explicit CardNetwork(QQuickItem *parent = nullptr);
    ~CardNetwork() override;

    int rowHeight() const { return m_rowHeight; }
    void setRowHeight(int height);
    int fontPixelSize() const { return m_fontPixelSize; }
    void setFontPixelSize(int size);

    NIC currentNIC() const { return m_currentNIC; }
    /// Selects @p nic; nothing when it is already selected.
    void setCurrentNIC(HMI::SystemSet::NIC nic);

    /// Whether the "Disable Network" switch of a wired or Wi-Fi adapter exists and is off.
    Q_INVOKABLE bool isEnable_FromSwitch(HMI::SystemSet::NIC nic) const;
    /// Whether the "Static IP" switch of a wired or Wi-Fi adapter exists and is on.
    Q_INVOKABLE bool isStatic_FromSwitch(HMI::SystemSet::NIC nic) const;
    /// Whether the addresses of @p nic may be typed in: switched on and static.
    Q_INVOKABLE bool allow_ModifyIPInfo(HMI::SystemSet::NIC nic) const;

    void updateEnable_IP(NIC nic);
    void updateEnable_SubnetMask(NIC nic);
    void updateEnable_Gateway(NIC nic);
    /// Shows the address in use, unless the field is being edited or the adapter is off.
    void updateDisplay_IP(NIC nic);
    void updateDisplay_SubnetMask(NIC nic);
    void updateDisplay_Gateway(NIC nic);
    /// Refreshes the three addresses of an adapter that is switched on, and the DNS card. Also callable by
    /// name with the adapter as a plain int.
    Q_INVOKABLE void updateNetInfoDisplay(HMI::SystemSet::NIC nic);
    Q_INVOKABLE void updateNetInfoDisplay(int nic) { updateNetInfoDisplay(NIC(nic)); }
    /// Sets the interface's on/off switch from the system.
    Q_INVOKABLE void updateSwitchDisplay_EnableDisable(HMI::SystemSet::NIC nic);
    /// Sets the interface's "Static IP" switch from the system (on = not DHCP).
    Q_INVOKABLE void updateSwitchDisplay_static(HMI::SystemSet::NIC nic);
    Q_INVOKABLE void updateSwitchDisplay_static(int nic) { updateSwitchDisplay_static(NIC(nic)); }

    /// Shows or hides the rows of @p nic, building them on the first show.
    void showItems(NIC nic, bool visible);

    // Row builders: a row item in the column and its parts.
    QQuickItem *addColumnItemRoot(qreal heightFactor = 0.78);
    QQuickText *addColumnItemText(QQuickItem *row, const char *sourceText);
    QQuickText *addColumnItemTextR(QQuickItem *row);
    BeepSwitch *addColumnItemSwitch(QQuickItem *row, bool on);
    CIpInput *addColumnItemIp(QQuickItem *row, HMI::IP ip);
    CMacInput *addColumnItemMac(QQuickItem *row, const HMI::MAC &mac);
    ComboBox *addColumnItemComboBox(QQuickItem *row);
    QQuickImage *addColumnItemImage(QQuickItem *row, const QString &source);
    /// The first row of the 4G modem and of the VPN: the interface's name and its on/off switch @p onOff,
    /// in position @p on.
    QQuickItem *addOnOffRow(const char *label, bool on, BeepSwitch *&onOff);
    /// A "Connection Status" row whose state @p text shows the translation of @p *source.
    QQuickItem *addStateRow(QQuickText *&text, const char *const *source);
    /// The column that holds the rows.
    QQuickItem *rowColumn() const { return m_layout; }

    /// A text of the card in the current language.
    static QString translated(const char *source);
    /// Shows the card's text @p newSource in @p text in @p color, keeping it in @p source for the language
    /// changes; nothing without a text.
    static void setStateText(QQuickText *text, const char *&source, const char *newSource,
                             const QColor &color);
    /// Moves @p onOff to position @p on; whether it moved.
    static bool showSwitch(BeepSwitch *onOff, bool on);

    /// Compiles the adapter button's document for @p engine ahead of the first card, and loads the card's
    /// fonts.
    static void prepare(QQmlEngine *engine);
    /// The row height and font size the card starts with on this screen.
    static int defaultRowHeight();
    static int defaultFontPixelSize();

Q_SIGNALS:
    void rowHeightChanged();
    void fontPixelSizeChanged();
    void currentNICChanged(HMI::SystemSet::NIC newNic, HMI::SystemSet::NIC oldNic);
    /// An adapter button was pressed; @p index is its NIC value.
    void nicButtonClicked(int index);
    /// A "Disable Network", 4G or VPN switch changed an interface's on/off state.
    void netDisabledChanged();
    /// A "Static IP" switch changed.
    void useStaticIpChanged();
    /// The Wi-Fi summary row was pressed: the Wi-Fi page should be shown.
    void switchToWifiCard();
    void wifiEnableChanged(bool enable);
    /// Wi-Fi was reset (relayed from the Wi-Fi card): its addresses are gone.
    void wifiReset();
    void wifiStatusChanged(bool connected, QString ssid);

public Q_SLOTS:
    /// Freezes the Wi-Fi summary while the Wi-Fi card connects; clearing it refreshes the summary at once.
    void setWifiConnecting(bool connecting);
    void changeNIC(HMI::SystemSet::NIC newNic, HMI::SystemSet::NIC oldNic);
    void update4GSignal();
    void updateVPNStatus();
    void updateWifiStatus();
    /// Runs the Wi-Fi status timer exactly while Wi-Fi is selected and switched on (the page was shown).
    void updateWifiTimer();

protected:
    void componentComplete() override;

private:
    void addNicButtons();
    void addNicButton(NIC nic);
    /// A "Disable Network" switch of a wired or Wi-Fi adapter was pressed.
    void setAdapterDisabled(NIC nic, bool disable);
    /// The 4G or VPN switch was pressed (the system is told).
    void onInterfaceSwitched();
    bool syncEnableSwitch(NIC nic);
    void reloadDnsCard();
    void onOpened();
    /// Starts the poll that the selected adapter needs, after the screen was opened.
    void resumeStatusTimer();
    void stopStatusTimers();

    static constexpr int portraitRowHeight = 62;
    int m_rowHeight = portraitRowHeight;
    int m_fontPixelSize = 20;
    NIC m_currentNIC = NIC(0);

    QQuickItem *m_layout = nullptr;        ///< the document's column, owned by the QML tree
    QQuickItem *m_nicButtonFlow = nullptr; ///< the document's flow of adapter buttons
    QQuickText *m_titleText = nullptr;

    QHash<int, BeepButton *> m_nicButtons;
    QHash<int, QList<QQuickItem *>> m_rows;

    // The parts, children of the card.
    NetworkAdapters *m_adapters = nullptr;
    WifiSummary *m_wifiSummary = nullptr;
    Modem4G *m_modem = nullptr;
    VpnStatus *m_vpn = nullptr;
};

} // namespace QSP

Q_DECLARE_METATYPE(HMI::SystemSet::NIC)
