#include "systemset/Backlight.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace HMI {

namespace {

int readNumber(const QString &path, bool *ok)
{
    QFile file(path);
    *ok = false;
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.read(32).trimmed().toInt(ok);
}

} // namespace

Backlight::Backlight(const std::string &sysfsRoot)
{
    const QDir dir(QString::fromStdString(sysfsRoot) + QStringLiteral("/sys/class/backlight"));
    const QStringList names = dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
    for (const QString &name : names) {
        bool ok = false;
        const int max = readNumber(dir.filePath(name) + QStringLiteral("/max_brightness"), &ok);
        if (!ok || max < 1)
            continue;
        m_dir = dir.filePath(name).toStdString();
        m_name = name.toStdString();
        m_max = max;
        return;
    }
}

int Backlight::rawOf(int level, int max)
{
    const int l = std::clamp(level, 1, 32);
    if (max <= 1)
        return 1;
    return 1 + ((l - 1) * (max - 1) + 15) / 31;
}

int Backlight::levelOf(int raw, int max)
{
    if (max <= 1)
        return raw > 0 ? 32 : 1;
    const int r = std::clamp(raw, 1, max);
    return 1 + ((r - 1) * 31 + (max - 1) / 2) / (max - 1);
}

int Backlight::level() const
{
    if (!present())
        return 0;
    bool ok = false;
    const int raw = readNumber(QString::fromStdString(m_dir) + QStringLiteral("/brightness"), &ok);
    return ok ? levelOf(raw, m_max) : 0;
}

bool Backlight::setLevel(int level) const
{
    QFile file(QString::fromStdString(m_dir) + QStringLiteral("/brightness"));
    if (!present() || !file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const QByteArray text = QByteArray::number(rawOf(level, m_max)) + '\n';
    return file.write(text) == text.size() && file.flush();
}

} // namespace HMI
