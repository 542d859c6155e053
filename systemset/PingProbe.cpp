#include "systemset/PingProbe.h"

#include <QHostAddress>
#include <QProcess>
#include <QSocketNotifier>
#include <QTimer>

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace HMI {

namespace {

constexpr int replyWithinMs = 2000;

} // namespace

void PingProbe::start(quint32 target, const QString &interface, Done done, QObject *parent)
{
    new PingProbe(target, interface, std::move(done), parent);
}

PingProbe::PingProbe(quint32 target, QString interface, Done done, QObject *parent)
    : QObject(parent)
    , m_target(target)
    , m_interface(std::move(interface))
    , m_done(std::move(done))
    , m_timeout(new QTimer(this))
{
    m_timeout->setSingleShot(true);
    m_timeout->setInterval(replyWithinMs + 500);
    connect(m_timeout, &QTimer::timeout, this, [this] { finish(false); });
    m_timeout->start();
    if (m_target == 0) {
        QTimer::singleShot(0, this, [this] { finish(false); });
        return;
    }
    if (!sendEcho())
        runProgram();
}

bool PingProbe::sendEcho()
{
    m_fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (m_fd < 0)
        return false;
    const QByteArray device = m_interface.toLocal8Bit();
    if (!device.isEmpty() &&
        ::setsockopt(m_fd, SOL_SOCKET, SO_BINDTODEVICE, device.constData(), socklen_t(device.size())) != 0) {
        ::close(m_fd);
        m_fd = -1;
        return false;
    }
    icmphdr echo{};
    echo.type = ICMP_ECHO;
    echo.un.echo.sequence = htons(1);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(m_target);
    if (::sendto(m_fd, &echo, sizeof echo, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to) < 0) {
        ::close(m_fd);
        m_fd = -1;
        return false;
    }
    m_timeout->start(replyWithinMs);
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &PingProbe::readReply);
    return true;
}

void PingProbe::readReply()
{
    unsigned char buffer[512];
    for (;;) {
        const ssize_t n = ::recv(m_fd, buffer, sizeof buffer, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return; // nothing more now; the timer ends the wait
        if (size_t(n) >= sizeof(icmphdr) &&
            reinterpret_cast<const icmphdr *>(buffer)->type == ICMP_ECHOREPLY) {
            finish(true);
            return;
        }
    }
}

void PingProbe::runProgram()
{
    QStringList arguments{QStringLiteral("-c"), QStringLiteral("1"), QStringLiteral("-W"),
                          QStringLiteral("2")};
    if (!m_interface.isEmpty())
        arguments << QStringLiteral("-I") << m_interface;
    arguments << QHostAddress(m_target).toString();
    m_process = new QProcess(this);
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process->setStandardOutputFile(QProcess::nullDevice());
    connect(m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this](int code, QProcess::ExitStatus status) {
                finish(status == QProcess::NormalExit && code == 0);
            });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            finish(false);
    });
    m_process->start(QStringLiteral("ping"), arguments);
}

void PingProbe::finish(bool replied)
{
    if (m_finished)
        return;
    m_finished = true;
    if (m_notifier)
        m_notifier->setEnabled(false);
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    if (m_process && m_process->state() != QProcess::NotRunning)
        m_process->kill();
    const Done done = std::move(m_done);
    deleteLater();
    if (done)
        done(replied);
}

} // namespace HMI
