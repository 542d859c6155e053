#include "systemset/NetworkState.h"

#include <QHostAddress>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace HMI {

namespace {

const char *nameOf(int nic)
{
    switch (nic) {
    case SystemSet::NIC_LAN0:
        return "LAN0";
    case SystemSet::NIC_LAN1:
        return "LAN1";
    case SystemSet::NIC_WIFI:
        return "WIFI";
    default:
        return nullptr;
    }
}

} // namespace

QString NetworkState::pathOf(int nic) const
{
    if (nic == SystemSet::NIC_4G)
        return QString(); // a modem, not a NetworkManager device
    const char *name = nameOf(nic);
    if (!name)
        return QString();
    const QString wanted = named.value(QLatin1String(name));
    if (!wanted.isEmpty()) {
        for (const auto &[path, d] : devices) {
            if (d.interface == wanted)
                return path;
        }
        return QString();
    }
    const unsigned type = nic == SystemSet::NIC_WIFI ? 2 : 1;
    std::vector<std::pair<QString, QString>> found; // interface, path
    for (const auto &[path, d] : devices) {
        if (d.type == type && !d.interface.isEmpty())
            found.emplace_back(d.interface, path);
    }
    std::sort(found.begin(), found.end());
    const size_t index = nic == SystemSet::NIC_LAN1 ? 1 : 0;
    return index < found.size() ? found[index].second : QString();
}

const NetworkState::Device *NetworkState::device(int nic) const
{
    const auto it = devices.find(pathOf(nic));
    return it == devices.end() ? nullptr : &it->second;
}

QHash<QString, QString> NetworkState::parseNames(const QString &text)
{
    QHash<QString, QString> names;
    for (const QString &pair : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString adapter = pair.section(QLatin1Char('='), 0, 0).trimmed().toUpper();
        const QString interface = pair.section(QLatin1Char('='), 1).trimmed();
        if (!adapter.isEmpty() && !interface.isEmpty())
            names.insert(adapter, interface);
    }
    return names;
}

IP NetworkState::ipOf(const QString &text)
{
    bool ok = false;
    const quint32 address = QHostAddress(text).toIPv4Address(&ok);
    return ok ? address : 0;
}

MAC NetworkState::macOf(const QString &text)
{
    MAC mac{};
    const QStringList parts = text.split(QLatin1Char(':'));
    if (parts.size() != 6)
        return mac;
    for (int i = 0; i < 6; ++i) {
        bool ok = false;
        const uint byte = parts.at(i).toUInt(&ok, 16);
        if (!ok || byte > 255)
            return MAC{};
        mac[size_t(i)] = static_cast<unsigned char>(byte);
    }
    return mac;
}

IP NetworkState::maskOf(int prefix)
{
    if (prefix <= 0)
        return 0;
    if (prefix >= 32)
        return 0xFFFFFFFFu;
    return ~((1u << (32 - prefix)) - 1u);
}

} // namespace HMI
