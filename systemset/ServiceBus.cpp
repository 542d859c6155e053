#include "systemset/ServiceBus.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <cstdio>

namespace HMI {

namespace {

const QEvent::Type wakeEvent = QEvent::Type(QEvent::User + 1);

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

QString watchKey(const QString &path, const QString &interface)
{
    return path + QLatin1Char(' ') + interface;
}

} // namespace

ServiceBus::ServiceBus(std::function<void()> posted, QObject *parent)
    : QObject(parent)
    , m_posted(std::move(posted))
    , m_name(QStringLiteral("qsp-linux-backend-%1").arg(quintptr(this), 0, 16))
{}

void ServiceBus::wake()
{
    QCoreApplication::postEvent(this, new QEvent(wakeEvent));
}

void ServiceBus::customEvent(QEvent *event)
{
    if (event->type() == wakeEvent && m_posted)
        m_posted();
}

bool ServiceBus::open()
{
    const QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    m_bus = address.isEmpty() ? QDBusConnection::connectToBus(QDBusConnection::SystemBus, m_name)
                              : QDBusConnection::connectToBus(address, m_name);
    if (!m_bus.isConnected()) {
        reportOnce(QStringLiteral("bus"), QStringLiteral("no system bus (%1): %2")
                                              .arg(m_bus.lastError().name(), m_bus.lastError().message()));
        return false;
    }
    return true;
}

void ServiceBus::close()
{
    qDeleteAll(findChildren<QObject *>(QString(), Qt::FindDirectChildrenOnly));
    m_watched.clear();
    m_listeners.clear();
    if (m_bus.isConnected() || !m_bus.name().isEmpty()) {
        m_bus = QDBusConnection(QString());
        QDBusConnection::disconnectFromBus(m_name);
    }
}

void ServiceBus::call(const QString &service, const QString &path, const QString &interface,
                      const QString &method, const QVariantList &arguments, Reply done, bool reportFailure)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    if (!m_bus.isConnected()) {
        const QDBusMessage error =
            message.createErrorReply(QDBusError::Disconnected, QStringLiteral("no system bus"));
        if (done)
            done(error);
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, 25000), this);
    const QString what = interface + QLatin1Char('.') + method;
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this,
        [this, done, what, reportFailure](QDBusPendingCallWatcher *w) {
            const QDBusMessage reply = w->reply();
            w->deleteLater();
            if (reply.type() == QDBusMessage::ErrorMessage && reportFailure)
                reportOnce(
                    what + reply.errorName(),
                    QStringLiteral("%1 failed: %2 (%3)").arg(what, reply.errorName(), reply.errorMessage()));
            if (done)
                done(reply);
        });
}

void ServiceBus::watch(const QString &service, const QString &path, const QString &interface, Changed changed,
                       const std::shared_ptr<void> &untilRead)
{
    m_watched.insert(watchKey(path, interface), changed);
    m_bus.connect(service, path, propertiesInterface, QStringLiteral("PropertiesChanged"), this,
                  SLOT(propertiesChanged(QDBusMessage)));
    call(service, path, propertiesInterface, QStringLiteral("GetAll"), {interface},
         [changed, untilRead](const QDBusMessage &reply) {
             if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
                 changed(qdbus_cast<QVariantMap>(reply.arguments().constFirst()));
         });
}

void ServiceBus::propertiesChanged(const QDBusMessage &message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 2)
        return;
    const auto handler = m_watched.constFind(watchKey(message.path(), arguments.at(0).toString()));
    if (handler != m_watched.constEnd())
        (*handler)(qdbus_cast<QVariantMap>(arguments.at(1)));
}

void ServiceBus::listen(const QString &service, const QString &path, const QString &interface,
                        const QString &name, const std::function<void(const QDBusMessage &)> &arrived)
{
    const QString key = watchKey(path, interface) + QLatin1Char(' ') + name;
    if (!m_listeners.contains(key))
        m_bus.connect(service, path, interface, name, this, SLOT(signalArrived(QDBusMessage)));
    m_listeners.insert(key, arrived);
}

void ServiceBus::signalArrived(const QDBusMessage &message)
{
    const auto listener = m_listeners.constFind(watchKey(message.path(), message.interface()) +
                                                QLatin1Char(' ') + message.member());
    if (listener != m_listeners.constEnd())
        (*listener)(message);
}

void ServiceBus::reportOnce(const QString &kind, const QString &text)
{
    if (m_reported.contains(kind))
        return;
    m_reported.insert(kind);
    std::fprintf(stderr, "linux backend: %s\n", qPrintable(text));
}

} // namespace HMI
