#include "systemset/Beeper.h"

#include <QDir>

#include <cerrno>
#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

namespace HMI {

namespace {

bool hasBit(const unsigned char *bits, int bit)
{
    return bits[bit / 8] & (1u << (bit % 8));
}

bool canSoundTone(const QString &device)
{
    const int fd = ::open(device.toLocal8Bit().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return false;
    unsigned char types[EV_MAX / 8 + 1] = {};
    unsigned char sounds[SND_MAX / 8 + 1] = {};
    const bool tone = ::ioctl(fd, EVIOCGBIT(0, sizeof types), types) >= 0 && hasBit(types, EV_SND) &&
                      ::ioctl(fd, EVIOCGBIT(EV_SND, sizeof sounds), sounds) >= 0 && hasBit(sounds, SND_TONE);
    ::close(fd);
    return tone;
}

} // namespace

Beeper::Beeper(const std::string &explicitPath)
{
    if (!explicitPath.empty()) {
        m_path = explicitPath;
        return;
    }
    const QDir input(QStringLiteral("/dev/input"));
    for (const QString &name : input.entryList({QStringLiteral("event*")}, QDir::System, QDir::Name)) {
        if (canSoundTone(input.filePath(name))) {
            m_path = input.filePath(name).toStdString();
            return;
        }
    }
}

bool Beeper::tone(int hz) const
{
    if (m_path.empty())
        return false;
    const int fd = ::open(m_path.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return false;
    input_event events[2] = {};
    timeval now{};
    ::gettimeofday(&now, nullptr);
    events[0].input_event_sec = now.tv_sec;
    events[0].input_event_usec = now.tv_usec;
    events[0].type = EV_SND;
    events[0].code = SND_TONE;
    events[0].value = hz;
    events[1].input_event_sec = now.tv_sec;
    events[1].input_event_usec = now.tv_usec;
    events[1].type = EV_SYN;
    events[1].code = SYN_REPORT;
    ssize_t written = -1;
    do
        written = ::write(fd, events, sizeof events);
    while (written < 0 && errno == EINTR);
    ::close(fd);
    return written == ssize_t(sizeof events);
}

} // namespace HMI
