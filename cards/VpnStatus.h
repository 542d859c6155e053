#pragma once

#include "cards/StatusPoll.h"

#include <QList>
#include <QObject>

class QQuickItem;
class QQuickText;

namespace QSP {

class BeepSwitch;
class CardNetwork;
class ComboBox;

/// The VPN on the Network card: its on/off switch, the server (which can be changed only while the tunnel is
/// down) and the connection state, polled while the VPN is selected.
class VpnStatus : public QObject
{
    Q_OBJECT

public:
    /// The VPN of @p card, a child of it; the rows go into the card's column.
    explicit VpnStatus(CardNetwork *card);

    /// The VPN's rows: on/off, server and state.
    QList<QQuickItem *> addRows();
    /// Sets the on/off switch from the system; whether it moved.
    bool syncSwitch();
    /// Follows the system's server and on/off state (the screen was opened again); the state too while
    /// the VPN is selected.
    void reload();

    void startPoll() { m_poll.start(); }
    void stopPoll() { m_poll.stop(); }
    /// Shows the system's connection state.
    void update();
    /// The server names in the current language.
    void fillServerList();

Q_SIGNALS:
    /// The user switched the VPN on or off, and the system was told.
    void switched();

private:
    void switchOn(bool on);
    /// The server is locked while the tunnel is up.
    void lockServer(bool on);
    void onServerPicked();

    CardNetwork *m_card = nullptr;
    StatusPoll m_poll;
    BeepSwitch *m_onOff = nullptr;
    ComboBox *m_serverComboBox = nullptr;
    QQuickText *m_stateText = nullptr;
    const char *m_stateSource = ""; ///< untranslated text of the state
};

} // namespace QSP
