#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QProcess;
class QSocketNotifier;
class QTimer;

namespace HMI {

/// One ICMP echo to an IPv4 address, through a datagram ICMP socket bound to an interface, or through the
/// ping program when the system refuses such sockets. Lives in the backend's thread and never blocks it;
/// deletes itself when done.
class PingProbe : public QObject
{
    Q_OBJECT
public:
    using Done = std::function<void(bool)>;

    /// Starts the probe; @p done gets true when a reply arrives within two seconds, false otherwise, once.
    static void start(quint32 target, const QString &interface, Done done, QObject *parent);

private:
    PingProbe(quint32 target, QString interface, Done done, QObject *parent);
    bool sendEcho();
    void readReply();
    void runProgram();
    void finish(bool replied);

    quint32 m_target = 0;
    QString m_interface;
    Done m_done;
    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
    QProcess *m_process = nullptr;
    QTimer *m_timeout = nullptr;
    bool m_finished = false;
};

} // namespace HMI
