#pragma once

#include <QEventLoop>
#include <QObject>
#include <QQuickWindow>
#include <QTimer>

#include <ctime>

/// Runs an action and the event loop until the window has shown the frames the action leads to.
class FrameClock
{
public:
    explicit FrameClock(QQuickWindow *window)
        : m_window(window)
    {}

    /// Runs @p action, then waits for a new frame, and for further ones while @p pending() says the
    /// action's work is not yet all on screen (each wait at most five seconds).
    template<typename Action, typename Pending>
    void run(Action action, Pending pending)
    {
        action();
        do
            waitForFrame();
        while (pending());
    }

    template<typename Action>
    void run(Action action)
    {
        run(action, [] { return false; });
    }

    void waitForFrame()
    {
        QEventLoop loop;
        const auto connection =
            QObject::connect(m_window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit);
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        m_window->update();
        loop.exec();
        QObject::disconnect(connection);
    }

private:
    QQuickWindow *m_window;
};

/// The process's CPU time in milliseconds (all threads: the simulated panel's callbacks count too).
inline double cpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}
