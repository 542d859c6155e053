#include "shell/DelayTrigger.h"

DelayTrigger::DelayTrigger(int delay, QObject *parent)
    : QTimer(parent)
    , m_delay(delay)
{
    setSingleShot(true);
    connect(this, &QTimer::timeout, this, &DelayTrigger::onTimeout);
}

void DelayTrigger::setCallback(std::function<void()> callback)
{
    m_callback = std::move(callback);
}

void DelayTrigger::doWork()
{
    stop();
    start(m_delay);
}

void DelayTrigger::onTimeout()
{
    if (m_callback)
        m_callback();
}
