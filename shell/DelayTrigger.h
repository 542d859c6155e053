#pragma once

#include <QTimer>

#include <functional>

/// A restartable delayed callback: every doWork() postpones the callback by the delay again.
class DelayTrigger : public QTimer
{
    Q_OBJECT

public:
    DelayTrigger(int delay, QObject *parent);

    /// Replaces the callback; the old one is destroyed.
    void setCallback(std::function<void()> callback);
    /// (Re)starts the countdown.
    void doWork();

private Q_SLOTS:
    void onTimeout();

private:
    int m_delay = 0; ///< milliseconds
    std::function<void()> m_callback;
};
