#pragma once

#include "systemset/SystemSet.h"

#include <QObject>
#include <QString>
#include <QTimer>

namespace QSP {

class CardWifi;
class WifiList;
class WifiPasswordDialog;

/// The connection flow of the Wi-Fi card: the network chosen, the attempt to connect, its progress reports,
/// and once connected an address for the adapter. An attempt always ends: without a final outcome within
/// the time-out it ends as a time-out (an outcome that comes later still applies). While an attempt is under
/// way the Network card keeps its Wi-Fi summary.
class WifiConnection : public QObject
{
    Q_OBJECT

public:
    /// The flow of @p card, a child of it, on the card's @p list and @p dialog.
    WifiConnection(CardWifi *card, WifiList *list, WifiPasswordDialog *dialog);

    /// Chooses the network @p ssid, whose signal has @p strength.
    void select(const HMI::SSID &ssid, unsigned strength);
    const HMI::SSID &selectedSsid() const { return m_selectedSsid; }
    /// Forgets the strength of the network chosen or connected (Wi-Fi was reset).
    void forgetStrength() { m_selectedStrength = 0; }

    /// Connects to @p ssid with @p password.
    void start(const HMI::SSID &ssid, const QString &password);
    /// Handles one progress report of the attempt.
    void onResult(HMI::SystemSet::StateWifi result);
    /// Connected: make sure the adapter has an address, then finish.
    void afterOnline();
    /// Asks for an address by DHCP; whatever the answer, the connection stands and the flow finishes.
    void requestAddress();
    /// Closes the dialog and shows the connection on both cards.
    void finish();

    /// The time an attempt is given, in milliseconds.
    int timeout() const { return m_watchdog.interval(); }
    void setTimeout(int ms) { m_watchdog.setInterval(ms); }

Q_SIGNALS:
    /// The flow has finished with a connection.
    void connectedChanged(bool connected);

private:
    CardWifi *m_card = nullptr;
    WifiList *m_list = nullptr;
    WifiPasswordDialog *m_dialog = nullptr;
    QTimer m_watchdog; ///< ends an attempt whose outcome never comes
    HMI::SSID m_selectedSsid{};
    unsigned m_selectedStrength = 0; ///< of the network last tapped or connected
};

} // namespace QSP
