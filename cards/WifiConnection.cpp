#include "cards/WifiConnection.h"

#include "cards/CardHelpers.h"
#include "cards/CardNetwork.h"
#include "cards/CardWifi.h"
#include "cards/SsidText.h"
#include "cards/WifiList.h"
#include "cards/WifiPasswordDialog.h"
#include "shell/OnGuiThread.h"
#include "systemset/MeyerSingleton.h"

#include <string>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

/// Tells the network card whether an attempt to connect is under way (it then keeps its Wi-Fi summary).
void setNetworkCardConnecting(bool connecting)
{
    if (auto *network = screenCard<CardNetwork>(AppRootItem::Card_Network))
        network->setWifiConnecting(connecting);
}

} // namespace

WifiConnection::WifiConnection(CardWifi *card, WifiList *list, WifiPasswordDialog *dialog)
    : QObject(card)
    , m_card(card)
    , m_list(list)
    , m_dialog(dialog)
{
    // An attempt that never reports its end (an outcome this card does not know, or none at all) must not
    // keep the dialog on "Connecting" and the list locked: it ends as a time-out.
    m_watchdog.setInterval(CardWifi::CONNECT_TIMEOUT_MS);
    m_watchdog.setSingleShot(true);
    connect(&m_watchdog, &QTimer::timeout, this, [this] {
        if (m_card->state() == CardWifi::Connecting)
            onResult(HMI::SystemSet::WIFI_TIMEOUT);
    });
}

void WifiConnection::select(const HMI::SSID &ssid, unsigned strength)
{
    m_selectedSsid = ssid;
    m_selectedStrength = strength;
}

void WifiConnection::start(const HMI::SSID &ssid, const QString &password)
{
    const QByteArray utf8 = password.toUtf8();
    m_card->setState(CardWifi::Connecting);
    m_dialog->hideForm();
    setNetworkCardConnecting(true);
    m_watchdog.start();
    Panel::instance().connectWifi(
        terminatedSsid(ssid), std::string(utf8.constData(), size_t(utf8.size())),
        onGuiThread(this,
                    [](WifiConnection *flow, HMI::SystemSet::StateWifi result) { flow->onResult(result); }));
}

void WifiConnection::onResult(HMI::SystemSet::StateWifi result)
{
    // A final outcome ends the attempt, also one that comes after the watchdog gave up on it.
    const auto ended = [this] {
        m_watchdog.stop();
        setNetworkCardConnecting(false);
    };
    // A failed attempt brings the password field back with the password still in it.
    const auto failed = [this, ended](const char *message) {
        m_card->setState(CardWifi::Idle);
        m_dialog->showFailure(message);
        ended();
    };

    switch (result) {
    case HMI::SystemSet::WIFI_OFFLINE:
        failed(QT_TRANSLATE_NOOP("CardWifi", "Wi-Fi Offline"));
        m_selectedStrength = 0;
        m_card->scanWifi();
        break;
    case HMI::SystemSet::WIFI_CONNECTING:
        m_card->setState(CardWifi::Connecting);
        // Also after the end of the attempt: that end is awaited again.
        if (!m_watchdog.isActive())
            m_watchdog.start();
        break;
    case HMI::SystemSet::WIFI_CONNECTED:
        m_card->setState(CardWifi::Online);
        if (const CardWifi::WIFI_INFO *entry = m_list->findByCurrentSsid())
            m_selectedStrength = entry->strength;
        afterOnline();
        ended();
        break;
    case HMI::SystemSet::WIFI_TIMEOUT:
        failed(QT_TRANSLATE_NOOP("CardWifi", "Time out"));
        break;
    case HMI::SystemSet::WIFI_WRONG_PASSWORD:
        failed(QT_TRANSLATE_NOOP("CardWifi", "Wrong password"));
        break;
    default: // reports this card does not know leave everything as it is; the watchdog ends the attempt
        break;
    }
}

void WifiConnection::afterOnline()
{
    if (Panel::instance().getIp(HMI::SystemSet::NIC_WIFI) != 0)
        finish();
    else
        requestAddress();
}

void WifiConnection::requestAddress()
{
    Panel::instance().setDHCP(
        HMI::SystemSet::NIC_WIFI, true,
        onGuiThread(this, [](WifiConnection *flow, HMI::SystemSet::DHCP_STATE) { flow->finish(); }), true);
}

void WifiConnection::finish()
{
    m_dialog->close();
    Q_EMIT connectedChanged(true);
    m_list->updateConnected();
    auto *network = screenCard<CardNetwork>(AppRootItem::Card_Network);
    if (network && CardWifi::isConnected()) {
        network->updateSwitchDisplay_static(HMI::SystemSet::NIC_WIFI);
        network->updateNetInfoDisplay(HMI::SystemSet::NIC_WIFI);
    }
}

} // namespace QSP
