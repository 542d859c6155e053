#pragma once

#include "cards/StatusPoll.h"

#include <QObject>
#include <QString>

class QQuickImage;
class QQuickItem;
class QQuickText;

namespace QSP {

class BeepButton;
class CardNetwork;

/// The Wi-Fi summary row of the Network card, under the Wi-Fi adapter's switch: online or offline, the
/// connected network's name, and an arrow to the Wi-Fi page. Polled while Wi-Fi is selected and switched on;
/// frozen while the Wi-Fi card connects.
class WifiSummary : public QObject
{
    Q_OBJECT

public:
    /// The summary of @p card, a child of it; the row goes into the card's column.
    explicit WifiSummary(CardNetwork *card);

    /// The row, a button that leads to the Wi-Fi page; shows the connection at once.
    QQuickItem *addRow();

    /// Freezes the summary while the Wi-Fi card connects; clearing it refreshes the summary at once.
    void setConnecting(bool connecting);
    /// Starts the poll unless it runs.
    void startPoll();
    void stopPoll() { m_poll.stop(); }
    /// Runs the poll exactly while Wi-Fi is selected and switched on, and refreshes the summary.
    void updatePoll();
    /// Shows the system's connection, and reports it.
    void update();

Q_SIGNALS:
    /// The connection as update() found it; @p ssid is empty when not connected.
    void statusChanged(bool connected, QString ssid);
    /// The connection seen before is gone, and with it the addresses that the network gave.
    void connectionLost();

private:
    void showOffline();

    CardNetwork *m_card = nullptr;
    StatusPoll m_poll;
    BeepButton *m_button = nullptr;
    QQuickText *m_ssidText = nullptr;
    QQuickText *m_stateText = nullptr;
    QQuickImage *m_arrow = nullptr;
    const char *m_stateSource = ""; ///< untranslated text of the state
    bool m_ssidUnknown = false;     ///< connected to a network without a name
    bool m_wasConnected = false;
    bool m_connecting = false;
};

} // namespace QSP
