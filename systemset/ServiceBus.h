#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace HMI {

/// The Linux backend's connection to the system bus (DBUS_SYSTEM_BUS_ADDRESS moves it) and its calls to the
/// services there. Lives in the backend's thread: every function is called there, and every reply and
/// signal is handled there, so nothing waits on the bus.
class ServiceBus : public QObject
{
    Q_OBJECT
public:
    /// Called with the reply, or with the error message when the call failed.
    using Reply = std::function<void(const QDBusMessage &reply)>;
    using Changed = std::function<void(const QVariantMap &properties)>;

    /// @p posted runs in the bus's thread each time wake() is called (from any thread).
    explicit ServiceBus(std::function<void()> posted, QObject *parent = nullptr);

    /// Has the bus's thread run the posted work soon. The wake-up carries no data: what it runs is handed
    /// over under its owner's own lock.
    void wake();

    /// Connects; false (reported once) when there is no bus.
    bool open();
    /// Drops the pending calls and probes and leaves the bus.
    void close();

    /// Calls @p method asynchronously. A failure is reported once per call and error kind on stderr unless
    /// @p reportFailure is false.
    void call(const QString &service, const QString &path, const QString &interface, const QString &method,
              const QVariantList &arguments, Reply done, bool reportFailure = true);
    /// Hands @p changed the properties of @p interface now, and then every change the service signals.
    /// @p untilRead is held until the first answer came (or did not).
    void watch(const QString &service, const QString &path, const QString &interface, Changed changed,
               const std::shared_ptr<void> &untilRead);

    /// Calls @p arrived with every signal @p name of @p interface that the object at @p path sends.
    void listen(const QString &service, const QString &path, const QString &interface, const QString &name,
                const std::function<void(const QDBusMessage &)> &arrived);

    /// Prints "linux backend: @p text" on stderr unless a problem of @p kind was printed before.
    void reportOnce(const QString &kind, const QString &text);

protected:
    void customEvent(QEvent *event) override;

private Q_SLOTS:
    void propertiesChanged(const QDBusMessage &message);
    void signalArrived(const QDBusMessage &message);

private:
    std::function<void()> m_posted;
    QString m_name;
    QDBusConnection m_bus{QString()};
    QHash<QString, Changed> m_watched;                                     ///< by path and interface
    QHash<QString, std::function<void(const QDBusMessage &)>> m_listeners; ///< by path, interface and name
    QSet<QString> m_reported;
};

} // namespace HMI
