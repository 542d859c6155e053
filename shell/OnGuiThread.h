#pragma once

#include <QCoreApplication>
#include <QPointer>

#include <mutex>
#include <tuple>
#include <utility>

namespace QSP {

/// Held while a callback's values are posted and taken before they are handled (see onGuiThread()).
inline std::mutex &handOverLock()
{
    static std::mutex lock;
    return lock;
}

/// Wraps a handler for a callback that the system library calls on its own thread.
///
/// The returned callable only takes the callback's plain values and posts them to the GUI thread, where
/// @p handler runs as handler(receiver, values...) — and does not run at all when @p receiver was deleted
/// in the meantime (the screen closed by its host while a ping, scan or connect was under way). Nothing of
/// the receiver is touched on the library's thread: the guard is copied there, which only counts
/// references, and read on the GUI thread.
///
/// Qt's event queue already orders the posting before the handling; the hand-over lock only makes that order
/// visible to ThreadSanitizer, which cannot see the synchronisation inside Qt's own (uninstrumented) code.
template<typename Receiver, typename Handler>
auto onGuiThread(Receiver *receiver, Handler handler)
{
    return [guard = QPointer<Receiver>(receiver), handler = std::move(handler)](auto... values) {
        QCoreApplication *app = QCoreApplication::instance();
        if (!app)
            return;
        std::lock_guard<std::mutex> posting(handOverLock());
        QMetaObject::invokeMethod(
            app,
            [guard, handler, values = std::make_tuple(std::move(values)...)]() mutable {
                handOverLock().lock(); // waits for the posting to end
                handOverLock().unlock();
                if (Receiver *target = guard.data())
                    std::apply([&](auto &...value) { handler(target, std::move(value)...); }, values);
            },
            Qt::QueuedConnection);
    };
}

} // namespace QSP
