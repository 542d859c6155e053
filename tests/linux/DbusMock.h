#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantList>

#include <memory>
#include <vector>

/// A private D-Bus system bus with python3-dbusmock's services on it, for the Linux backend's tests: a
/// dbus-daemon of its own, the mocks started on it (a template, or a plain mock of one object), and their
/// call logs. Everything stops when the object goes.
class DbusMock
{
public:
    DbusMock();
    ~DbusMock();

    /// Starts the bus and points DBUS_SYSTEM_BUS_ADDRESS at it; false, and why, when dbus-daemon or python3
    /// with dbusmock cannot run here.
    bool start(QString *why);
    QString address() const { return m_address; }
    QDBusConnection bus() const;

    /// Starts the dbusmock template @p name (e.g. "timedated") owning @p service, with JSON @p parameters.
    bool startTemplate(const QString &name, const QString &service, const QString &parameters = QString());
    /// Starts a plain mock owning @p service with one object at @p path (that lists the objects added later,
    /// when @p objectManager).
    bool startPlain(const QString &service, const QString &path, const QString &interface,
                    bool objectManager = false);

    /// Starts the services the backend talks to outside the network: timedated (refusing SetTime while NTP is
    /// on, as the real one does; NTP starts off), logind with the caller's session ("auto") able to set the
    /// brightness, hostnamed answering GetHardwareSerial with @p serial, and localed with @p locale.
    bool startSystemServices(const QString &serial, const QString &locale);

    /// Calls @p method of the mock interface (org.freedesktop.DBus.Mock) of the object at @p path.
    bool mock(const QString &service, const QString &path, const QString &method,
              const QVariantList &arguments);

    /// Runs @p code in python3 with everything of mockboard.py (the private bus, `mock(service, path)`, the
    /// boards and changes the tests use), for what QtDBus makes awkward: nested dictionaries, byte arrays,
    /// signals.
    bool python(const QString &code);

    /// The method calls logged by the mock of @p service since the last forget(), each "Method arg arg" with
    /// dbusmock's rendering of the arguments (True, False, numbers, "strings"); property reads and writes and
    /// the signals are left out.
    QStringList calls(const QString &service) const;
    void forget(const QString &service);

private:
    bool startMock(const QString &service, const QStringList &arguments);
    QStringList allCalls(const QString &service) const;

    QTemporaryDir m_dir;
    std::unique_ptr<QProcess> m_daemon;
    QString m_address;
    std::vector<std::unique_ptr<QProcess>> m_mocks;
    QHash<QString, QString> m_logs;  ///< call log file by service
    QHash<QString, int> m_forgotten; ///< lines of the log already forgotten, by service
};
