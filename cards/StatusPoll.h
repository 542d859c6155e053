#pragma once

#include <functional>

class QObject;
class QTimer;

namespace QSP {

/// A status poll of the Network card: while it runs it calls its update at every interval. Its timer is made
/// on the first start, as a child of the card beside the card's other status timers; a closed screen asks the
/// system nothing, so no poll starts while the settings screen is hidden.
class StatusPoll
{
public:
    /// A poll of @p card that calls @p update every @p intervalMs for as long as @p context lives.
    StatusPoll(QObject *card, QObject *context, std::function<void()> update, int intervalMs);

    /// Starts the poll, or starts its interval again; nothing while the settings screen is hidden.
    void start();
    void stop();
    bool isActive() const;

private:
    QObject *m_card = nullptr;
    QObject *m_context = nullptr;
    std::function<void()> m_update;
    int m_intervalMs = 0;
    QTimer *m_timer = nullptr; ///< owned by the card
};

} // namespace QSP
