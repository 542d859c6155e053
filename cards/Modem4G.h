#pragma once

#include "cards/StatusPoll.h"

#include <QList>
#include <QObject>

class QQuickImage;
class QQuickItem;
class QQuickText;

namespace QSP {

class BeepSwitch;
class CardNetwork;

/// The 4G modem on the Network card: its on/off switch, its signal and its connection state, polled while the
/// modem is selected and switched on.
class Modem4G : public QObject
{
    Q_OBJECT

public:
    /// The modem of @p card, a child of it; the rows go into the card's column.
    explicit Modem4G(CardNetwork *card);

    /// The modem's rows: on/off, signal and state.
    QList<QQuickItem *> addRows();
    /// Sets the on/off switch from the system; whether it moved.
    bool syncSwitch();

    /// Clears the signal and state, then polls them while @p run, or stops the poll.
    void setPolling(bool run);
    void stopPoll() { m_poll.stop(); }
    /// Shows the system's signal and state.
    void update();

Q_SIGNALS:
    /// The user switched the modem on or off, and the system was told.
    void switched();

private:
    void clear();

    CardNetwork *m_card = nullptr;
    StatusPoll m_poll;
    BeepSwitch *m_onOff = nullptr;
    QQuickImage *m_signalImage = nullptr;
    QQuickText *m_stateText = nullptr;
    const char *m_stateSource = ""; ///< untranslated text of the state
};

} // namespace QSP
