#include "cards/StatusPoll.h"

#include "shell/AppRootItem.h"

#include <QTimer>

#include <utility>

namespace QSP {

StatusPoll::StatusPoll(QObject *card, QObject *context, std::function<void()> update, int intervalMs)
    : m_card(card)
    , m_context(context)
    , m_update(std::move(update))
    , m_intervalMs(intervalMs)
{}

void StatusPoll::start()
{
    const AppRootItem *root = AppRootItem::instance();
    if (root && !root->isVisible())
        return;
    if (!m_timer) {
        m_timer = new QTimer(m_card);
        QObject::connect(m_timer, &QTimer::timeout, m_context, m_update);
    }
    m_timer->start(m_intervalMs);
}

void StatusPoll::stop()
{
    if (m_timer)
        m_timer->stop();
}

bool StatusPoll::isActive() const
{
    return m_timer && m_timer->isActive();
}

} // namespace QSP
