#include "DbusMock.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <csignal>
#include <sys/prctl.h>

namespace {

/// A program that ends with the test: a test that crashes or is killed leaves no bus or mock behind, and
/// none of them holds the test's output open (CTest waits for it to close).
class ChildProcess : public QProcess
{
protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGTERM); }
};

const QString pythonProgram = QStringLiteral("/usr/bin/python3");
const QString mockInterface = QStringLiteral("org.freedesktop.DBus.Mock");

} // namespace

DbusMock::DbusMock() = default;

DbusMock::~DbusMock()
{
    for (auto &mock : m_mocks) {
        mock->terminate();
        if (!mock->waitForFinished(3000))
            mock->kill();
        mock->waitForFinished(1000);
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("tst-mock"));
    if (m_daemon && m_daemon->state() != QProcess::NotRunning) {
        m_daemon->terminate();
        if (!m_daemon->waitForFinished(3000))
            m_daemon->kill();
        m_daemon->waitForFinished(1000);
    }
}

bool DbusMock::start(QString *why)
{
    QProcess probe;
    probe.start(pythonProgram, {QStringLiteral("-c"), QStringLiteral("import dbusmock")});
    if (!probe.waitForFinished(20000) || probe.exitStatus() != QProcess::NormalExit ||
        probe.exitCode() != 0) {
        *why = QStringLiteral("%1 with the dbusmock module cannot run here (%2)")
                   .arg(pythonProgram,
                        QString::fromLocal8Bit(probe.readAllStandardError()).trimmed() + probe.errorString());
        return false;
    }
    m_daemon = std::make_unique<ChildProcess>();
    m_daemon->setStandardErrorFile(QProcess::nullDevice());
    m_daemon->start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--session"), QStringLiteral("--nofork"),
                     QStringLiteral("--print-address=1"),
                     QStringLiteral("--address=unix:path=") + m_dir.filePath(QStringLiteral("bus"))});
    if (!m_daemon->waitForStarted(10000) || !m_daemon->waitForReadyRead(10000)) {
        *why = QStringLiteral("dbus-daemon cannot run here (%1)").arg(m_daemon->errorString());
        return false;
    }
    m_address = QString::fromLatin1(m_daemon->readLine()).trimmed();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_address.toUtf8());
    if (!bus().isConnected()) {
        *why = QStringLiteral("the private bus %1 refused a connection").arg(m_address);
        return false;
    }
    return true;
}

QDBusConnection DbusMock::bus() const
{
    return QDBusConnection::connectToBus(m_address, QStringLiteral("tst-mock"));
}

bool DbusMock::startTemplate(const QString &name, const QString &service, const QString &parameters)
{
    QStringList arguments{QStringLiteral("--template"), name};
    if (!parameters.isEmpty())
        arguments << QStringLiteral("--parameters") << parameters;
    return startMock(service, arguments);
}

bool DbusMock::startPlain(const QString &service, const QString &path, const QString &interface,
                          bool objectManager)
{
    const QStringList flag =
        objectManager ? QStringList{QStringLiteral("--is-object-manager")} : QStringList();
    return startMock(service, flag + QStringList{service, path, interface});
}

bool DbusMock::startMock(const QString &service, const QStringList &arguments)
{
    const QString log = m_dir.filePath(service + QStringLiteral(".log"));
    auto process = std::make_unique<ChildProcess>();
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(m_dir.filePath(service + QStringLiteral(".err")));
    process->start(pythonProgram, QStringList{QStringLiteral("-m"), QStringLiteral("dbusmock"),
                                              QStringLiteral("--system"), QStringLiteral("--logfile"), log} +
                                      arguments);
    if (!process->waitForStarted(10000))
        return false;
    m_mocks.push_back(std::move(process));
    m_logs.insert(service, log);
    const QDeadlineTimer deadline(20000);
    while (!bus().interface()->isServiceRegistered(service)) {
        if (deadline.hasExpired() || m_mocks.back()->state() == QProcess::NotRunning)
            return false;
        QThread::msleep(20);
    }
    return true;
}

bool DbusMock::mock(const QString &service, const QString &path, const QString &method,
                    const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, mockInterface, method);
    call.setArguments(arguments);
    const QDBusMessage reply = bus().call(call, QDBus::Block, 10000);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qWarning("%s on %s: %s", qPrintable(method), qPrintable(service), qPrintable(reply.errorMessage()));
        return false;
    }
    return true;
}

QStringList DbusMock::allCalls(const QString &service) const
{
    QFile file(m_logs.value(service));
    QStringList lines;
    if (!file.open(QIODevice::ReadOnly))
        return lines;
    for (const QByteArray &line : file.readAll().split('\n')) {
        // "1700000000.123 Method args": the time stamp goes, and so do the reads and writes of
        // properties and the signals.
        const QString call = QString::fromUtf8(line.mid(line.indexOf(' ') + 1));
        const QString method = call.section(QLatin1Char(' '), 0, 0);
        if (!call.isEmpty() && method != QLatin1String("Get") && method != QLatin1String("GetAll") &&
            method != QLatin1String("Set") && method != QLatin1String("emit"))
            lines << call;
    }
    return lines;
}

QStringList DbusMock::calls(const QString &service) const
{
    return allCalls(service).mid(m_forgotten.value(service));
}

void DbusMock::forget(const QString &service)
{
    m_forgotten.insert(service, allCalls(service).size());
}

bool DbusMock::startSystemServices(const QString &serial, const QString &locale)
{
    const QString timedated = QStringLiteral("org.freedesktop.timedate1");
    const QString hostnamed = QStringLiteral("org.freedesktop.hostname1");
    const QString localed = QStringLiteral("org.freedesktop.locale1");
    const QString logind = QStringLiteral("org.freedesktop.login1");
    return startTemplate(QStringLiteral("timedated"), timedated, QStringLiteral(R"({"NTP": false})")) &&
           mock(timedated, QStringLiteral("/org/freedesktop/timedate1"), QStringLiteral("AddMethod"),
                {timedated, QStringLiteral("SetTime"), QStringLiteral("xbb"), QString(),
                 QStringLiteral("if self.Get('org.freedesktop.timedate1', 'NTP'): raise dbus.exceptions."
                                "DBusException('Automatic time synchronization is enabled', "
                                "name='org.freedesktop.timedate1.AutomaticTimeSyncEnabled')")}) &&
           startTemplate(QStringLiteral("logind"), logind) &&
           mock(logind, QStringLiteral("/org/freedesktop/login1"), QStringLiteral("AddSession"),
                {QStringLiteral("auto"), QStringLiteral("seat0"), 1000u, QStringLiteral("operator"), true}) &&
           mock(logind, QStringLiteral("/org/freedesktop/login1/session/auto"), QStringLiteral("AddMethod"),
                {QStringLiteral("org.freedesktop.login1.Session"), QStringLiteral("SetBrightness"),
                 QStringLiteral("ssu"), QString(), QString()}) &&
           startPlain(hostnamed, QStringLiteral("/org/freedesktop/hostname1"), hostnamed) &&
           mock(hostnamed, QStringLiteral("/org/freedesktop/hostname1"), QStringLiteral("AddMethod"),
                {hostnamed, QStringLiteral("GetHardwareSerial"), QString(), QStringLiteral("s"),
                 QStringLiteral("ret = '%1'").arg(serial)}) &&
           startPlain(localed, QStringLiteral("/org/freedesktop/locale1"), localed) &&
           mock(localed, QStringLiteral("/org/freedesktop/locale1"), QStringLiteral("AddProperty"),
                {localed, QStringLiteral("Locale"), QVariant::fromValue(QDBusVariant(QStringList{locale}))});
}

bool DbusMock::python(const QString &code)
{
    // The tests' own module of mocked boards, beside this file.
    const QString preamble = QStringLiteral("import sys\nsys.path.insert(0, '%1')\nfrom mockboard import *\n")
                                 .arg(QFileInfo(QStringLiteral(__FILE__)).absolutePath());
    QProcess run;
    run.setProcessChannelMode(QProcess::ForwardedChannels);
    run.start(pythonProgram, {QStringLiteral("-c"), preamble + code});
    return run.waitForFinished(20000) && run.exitStatus() == QProcess::NormalExit && run.exitCode() == 0;
}
