#include "systemset/PanelState.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonValue>
#include <QStringList>

#include <algorithm>
#include <cstdio>

namespace HMI {

namespace {

constexpr IP ip4(unsigned a, unsigned b, unsigned c, unsigned d)
{
    return (a << 24) | (b << 16) | (c << 8) | d;
}

/// Reads typed values out of the state document, reporting every unusable one once.
class Reader
{
public:
    explicit Reader(const QString &fileName)
        : m_fileName(fileName)
    {}

    void report(const QString &path, const char *what) const
    {
        std::fprintf(stderr, "panel state %s: key \"%s\" %s; keeping its default\n", qPrintable(m_fileName),
                     qPrintable(path), what);
    }

    bool readBool(const QJsonObject &o, const QString &key, const QString &path, bool &out) const
    {
        if (!o.contains(key))
            return false;
        const QJsonValue v = o.value(key);
        if (!v.isBool()) {
            report(path, "is not a boolean");
            return false;
        }
        out = v.toBool();
        return true;
    }

    bool readInt(const QJsonObject &o, const QString &key, const QString &path, int &out) const
    {
        if (!o.contains(key))
            return false;
        const QJsonValue v = o.value(key);
        const double d = v.toDouble();
        // The range first: converting a double beyond long long's range is undefined.
        if (!v.isDouble() || d < -2147483648.0 || d > 2147483647.0 ||
            d != static_cast<double>(static_cast<long long>(d))) {
            report(path, "is not a whole number");
            return false;
        }
        out = static_cast<int>(d);
        return true;
    }

    /// A whole number, clamped to @p low..@p high.
    bool readLevel(const QJsonObject &o, const QString &key, const QString &path, int low, int high,
                   int &out) const
    {
        int value = 0;
        if (!readInt(o, key, path, value))
            return false;
        out = std::clamp(value, low, high);
        return true;
    }

    bool readString(const QJsonObject &o, const QString &key, const QString &path, QString &out) const
    {
        if (!o.contains(key))
            return false;
        const QJsonValue v = o.value(key);
        if (!v.isString()) {
            report(path, "is not a string");
            return false;
        }
        out = v.toString();
        return true;
    }

    bool readObject(const QJsonObject &o, const QString &key, const QString &path, QJsonObject &out) const
    {
        if (!o.contains(key))
            return false;
        const QJsonValue v = o.value(key);
        if (!v.isObject()) {
            report(path, "is not an object");
            return false;
        }
        out = v.toObject();
        return true;
    }

    bool readIp(const QJsonObject &o, const QString &key, const QString &path, IP &out) const
    {
        QString text;
        if (!readString(o, key, path, text))
            return false;
        const auto ip = PanelState::ipFromText(text);
        if (!ip) {
            report(path, "is not a dotted IPv4 address");
            return false;
        }
        out = *ip;
        return true;
    }

    void readAddresses(const QJsonObject &o, const QString &key, const QString &path,
                       PanelState::Addresses &out) const
    {
        QJsonObject a;
        if (!readObject(o, key, path, a))
            return;
        readIp(a, QStringLiteral("ip"), path + QStringLiteral(".ip"), out.ip);
        readIp(a, QStringLiteral("mask"), path + QStringLiteral(".mask"), out.mask);
        readIp(a, QStringLiteral("gateway"), path + QStringLiteral(".gateway"), out.gateway);
    }

private:
    QString m_fileName;
};

std::optional<std::string> bytesFromHex(const QString &hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex.toLatin1());
    if (QString::fromLatin1(bytes.toHex()) != hex.toLower())
        return std::nullopt; // odd length or a character that is not a hexadecimal digit
    return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

} // namespace

PanelState::PanelState()
{
    const auto lan = [](bool dhcp, MAC mac, Addresses stat, Addresses lease, std::pair<IP, IP> dns) {
        Adapter a;
        a.present = true;
        a.enabled = true;
        a.dhcp = dhcp;
        a.mac = mac;
        a.stat = stat;
        a.lease = lease;
        a.dns = dns;
        return a;
    };
    adapters[0] = lan(false, {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E},
                      {ip4(192, 168, 1, 20), ip4(255, 255, 255, 0), ip4(192, 168, 1, 1)},
                      {ip4(192, 168, 1, 120), ip4(255, 255, 255, 0), ip4(192, 168, 1, 1)},
                      {ip4(192, 168, 1, 1), ip4(8, 8, 8, 8)});
    adapters[1] = lan(true, {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5F},
                      {ip4(10, 0, 0, 20), ip4(255, 0, 0, 0), ip4(10, 0, 0, 1)},
                      {ip4(10, 0, 0, 57), ip4(255, 0, 0, 0), ip4(10, 0, 0, 1)}, {ip4(10, 0, 0, 1), 0});
    adapters[2] =
        lan(true, {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x60}, {0, 0, 0},
            {ip4(172, 16, 4, 33), ip4(255, 255, 0, 0), ip4(172, 16, 0, 1)}, {ip4(172, 16, 0, 1), 0});
    adapters[3].present = true;
    adapters[3].enabled = true;
    adapters[4].present = true;
    adapters[4].enabled = false;

    wifiConnected = std::string("Plant-Floor");
    networks = {
        {"Plant-Floor", 82, true, "", "line-4-floor", std::nullopt},
        {"Office", 55, true, "welcome1", "welcome1", std::nullopt},
        {"Guest", 30, false, "", "", std::nullopt},
    };
}

PanelState::Adapter *PanelState::adapter(int nic)
{
    switch (nic) {
    case SystemSet::NIC_LAN0:
        return &adapters[0];
    case SystemSet::NIC_LAN1:
        return &adapters[1];
    case SystemSet::NIC_WIFI:
        return &adapters[2];
    case SystemSet::NIC_4G:
        return &adapters[3];
    case SystemSet::NIC_VPN:
        return &adapters[4];
    default:
        return nullptr;
    }
}

const PanelState::Adapter *PanelState::adapter(int nic) const
{
    return const_cast<PanelState *>(this)->adapter(nic);
}

QString PanelState::adapterKey(int index)
{
    static const char *const keys[] = {"LAN0", "LAN1", "WIFI", "4G", "VPN"};
    return QString::fromLatin1(keys[index]);
}

int PanelState::nicOfIndex(int index)
{
    static const int nics[] = {SystemSet::NIC_LAN0, SystemSet::NIC_LAN1, SystemSet::NIC_WIFI,
                               SystemSet::NIC_4G, SystemSet::NIC_VPN};
    return nics[index];
}

QString PanelState::ipToText(IP ip)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(ip >> 24)
        .arg((ip >> 16) & 0xFF)
        .arg((ip >> 8) & 0xFF)
        .arg(ip & 0xFF);
}

std::optional<IP> PanelState::ipFromText(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 4)
        return std::nullopt;
    IP ip = 0;
    for (const QString &part : parts) {
        if (part.isEmpty() || part.size() > 3)
            return std::nullopt;
        for (const QChar c : part) {
            if (c < QLatin1Char('0') || c > QLatin1Char('9'))
                return std::nullopt;
        }
        const unsigned value = part.toUInt();
        if (value > 255)
            return std::nullopt;
        ip = (ip << 8) | value;
    }
    return ip;
}

QString PanelState::macToText(const MAC &mac)
{
    QStringList parts;
    for (unsigned char b : mac)
        parts << QStringLiteral("%1").arg(b, 2, 16, QLatin1Char('0')).toUpper();
    return parts.join(QLatin1Char(':'));
}

std::optional<MAC> PanelState::macFromText(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(':'));
    if (parts.size() != 6)
        return std::nullopt;
    const auto isHexDigit = [](QChar c) {
        return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
               (c >= QLatin1Char('a') && c <= QLatin1Char('f')) ||
               (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
    };
    MAC mac{};
    for (int i = 0; i < 6; ++i) {
        // Exactly two hex digits: toUInt alone would also take a sign or a leading space.
        if (parts[i].size() != 2 || !isHexDigit(parts[i][0]) || !isHexDigit(parts[i][1]))
            return std::nullopt;
        const uint value = parts[i].toUInt(nullptr, 16);
        mac[static_cast<size_t>(i)] = static_cast<unsigned char>(value);
    }
    return mac;
}

void PanelState::read(const QJsonObject &doc, const QString &fileName)
{
    const Reader r(fileName);

    QJsonObject adaptersObj;
    if (r.readObject(doc, QStringLiteral("adapters"), QStringLiteral("adapters"), adaptersObj)) {
        const PanelState defaults;
        for (int i = 0; i < 5; ++i) {
            const QString key = adapterKey(i);
            const QString path = QStringLiteral("adapters.") + key;
            Adapter &a = adapters[static_cast<size_t>(i)];
            a.present = false;
            QJsonObject o;
            if (!adaptersObj.contains(key))
                continue;
            a.present = true;
            if (!r.readObject(adaptersObj, key, path, o))
                continue;
            r.readBool(o, QStringLiteral("enabled"), path + QStringLiteral(".enabled"), a.enabled);
            r.readBool(o, QStringLiteral("dhcp"), path + QStringLiteral(".dhcp"), a.dhcp);
            QString macText;
            if (r.readString(o, QStringLiteral("mac"), path + QStringLiteral(".mac"), macText)) {
                if (const auto mac = macFromText(macText))
                    a.mac = *mac;
                else
                    r.report(path + QStringLiteral(".mac"), "is not a MAC address like 00:1A:2B:3C:4D:5E");
            }
            r.readAddresses(o, QStringLiteral("static"), path + QStringLiteral(".static"), a.stat);
            r.readAddresses(o, QStringLiteral("lease"), path + QStringLiteral(".lease"), a.lease);
            if (o.contains(QStringLiteral("dns"))) {
                const QJsonArray dns = o.value(QStringLiteral("dns")).toArray();
                const auto first = ipFromText(dns.at(0).toString());
                const auto second = ipFromText(dns.at(1).toString());
                if (!o.value(QStringLiteral("dns")).isArray() || dns.size() != 2 || !first || !second)
                    r.report(path + QStringLiteral(".dns"), "is not a list of two dotted IPv4 addresses");
                else
                    a.dns = {*first, *second};
            }
        }
    }

    QString defaultKey;
    if (r.readString(doc, QStringLiteral("defaultAdapter"), QStringLiteral("defaultAdapter"), defaultKey)) {
        bool known = false;
        for (int i = 0; i < 5; ++i) {
            if (adapterKey(i) == defaultKey) {
                defaultAdapter = static_cast<SystemSet::NIC>(nicOfIndex(i));
                known = true;
            }
        }
        if (!known)
            r.report(QStringLiteral("defaultAdapter"), "names no adapter (LAN0, LAN1, WIFI, 4G, VPN)");
    }
    r.readBool(doc, QStringLiteral("ping"), QStringLiteral("ping"), ping);
    r.readInt(doc, QStringLiteral("dhcpState"), QStringLiteral("dhcpState"), dhcpState);

    QJsonObject o;
    if (r.readObject(doc, QStringLiteral("modem"), QStringLiteral("modem"), o)) {
        r.readInt(o, QStringLiteral("signal"), QStringLiteral("modem.signal"), modemSignal);
        r.readInt(o, QStringLiteral("state"), QStringLiteral("modem.state"), modemState);
    }
    if (r.readObject(doc, QStringLiteral("vpn"), QStringLiteral("vpn"), o)) {
        int server = vpnServer;
        if (r.readInt(o, QStringLiteral("server"), QStringLiteral("vpn.server"), server)) {
            if (server == SystemSet::VPN_ASIA || server == SystemSet::VPN_EUROPE)
                vpnServer = server;
            else
                r.report(QStringLiteral("vpn.server"), "is neither 0 (Asia) nor 1 (Europe)");
        }
        r.readInt(o, QStringLiteral("state"), QStringLiteral("vpn.state"), vpnState);
    }

    if (r.readObject(doc, QStringLiteral("wifi"), QStringLiteral("wifi"), o)) {
        if (o.contains(QStringLiteral("connected"))) {
            const QJsonValue v = o.value(QStringLiteral("connected"));
            if (v.isNull())
                wifiConnected.reset();
            else if (v.isString())
                wifiConnected = v.toString().toUtf8().left(32).toStdString();
            else
                r.report(QStringLiteral("wifi.connected"), "is neither a string nor null");
        }
        r.readLevel(o, QStringLiteral("strength"), QStringLiteral("wifi.strength"), 0, 100, wifiStrength);
        QString scan;
        if (r.readString(o, QStringLiteral("scan"), QStringLiteral("wifi.scan"), scan)) {
            if (scan == QLatin1String("list") || scan == QLatin1String("null"))
                scanReturnsList = scan == QLatin1String("list");
            else
                r.report(QStringLiteral("wifi.scan"), "is neither \"list\" nor \"null\"");
        }
        if (o.contains(QStringLiteral("networks"))) {
            if (!o.value(QStringLiteral("networks")).isArray()) {
                r.report(QStringLiteral("wifi.networks"), "is not a list");
            } else {
                networks.clear();
                const QJsonArray list = o.value(QStringLiteral("networks")).toArray();
                for (int i = 0; i < list.size(); ++i) {
                    const QString path = QStringLiteral("wifi.networks[%1]").arg(i);
                    if (!list.at(i).isObject()) {
                        r.report(path, "is not an object; network left out");
                        continue;
                    }
                    const QJsonObject n = list.at(i).toObject();
                    Network net;
                    QString text;
                    if (r.readString(n, QStringLiteral("ssidHex"), path + QStringLiteral(".ssidHex"), text)) {
                        const auto bytes = bytesFromHex(text);
                        if (!bytes || bytes->size() > 32)
                            r.report(path + QStringLiteral(".ssidHex"),
                                     "is not up to 32 bytes in hexadecimal");
                        else
                            net.ssid = *bytes;
                    } else if (r.readString(n, QStringLiteral("ssid"), path + QStringLiteral(".ssid"),
                                            text)) {
                        net.ssid = text.toUtf8().left(32).toStdString();
                    }
                    r.readLevel(n, QStringLiteral("strength"), path + QStringLiteral(".strength"), 0, 100,
                                net.strength);
                    r.readBool(n, QStringLiteral("secured"), path + QStringLiteral(".secured"), net.secured);
                    if (r.readString(n, QStringLiteral("password"), path + QStringLiteral(".password"), text))
                        net.password = text.toStdString();
                    if (r.readString(n, QStringLiteral("secret"), path + QStringLiteral(".secret"), text))
                        net.secret = text.toStdString();
                    int result = 0;
                    if (r.readInt(n, QStringLiteral("result"), path + QStringLiteral(".result"), result))
                        net.result = result;
                    networks.push_back(std::move(net));
                }
            }
        }
    }

    r.readBool(doc, QStringLiteral("buzzer"), QStringLiteral("buzzer"), buzzer);
    r.readLevel(doc, QStringLiteral("brightness"), QStringLiteral("brightness"), 1, 32, brightness);
    readLanguage(doc, fileName);
    QString serialText;
    if (r.readString(doc, QStringLiteral("serial"), QStringLiteral("serial"), serialText))
        serial = serialText.toStdString();
    r.readBool(doc, QStringLiteral("clockSettable"), QStringLiteral("clockSettable"), clockSettable);

    if (r.readObject(doc, QStringLiteral("delaysMs"), QStringLiteral("delaysMs"), o)) {
        const auto delay = [&](const char *key, int &out) {
            int value = out;
            const QString k = QString::fromLatin1(key);
            if (!r.readInt(o, k, QStringLiteral("delaysMs.") + k, value))
                return;
            if (value < 0)
                r.report(QStringLiteral("delaysMs.") + k, "is negative");
            else
                out = value;
        };
        delay("dhcp", delayDhcp);
        delay("ping", delayPing);
        delay("scan", delayScan);
        delay("reset", delayReset);
        delay("connect", delayConnect);
    }
}

bool PanelState::readLanguage(const QJsonObject &doc, const QString &fileName)
{
    int value = 0;
    if (!Reader(fileName).readInt(doc, QStringLiteral("language"), QStringLiteral("language"), value))
        return false;
    language = value == SystemSet::LANG_CHINESE ? SystemSet::LANG_CHINESE : SystemSet::LANG_ENGLISH;
    return true;
}

bool PanelState::writeKey(QJsonObject &doc, PersistedKey key, int nic) const
{
    if (key == PersistedKey::Brightness) {
        doc.insert(QStringLiteral("brightness"), brightness);
        return true;
    }
    const Adapter *a = adapter(nic);
    if (!a || !a->present)
        return false; // naming it would give the panel an adapter it does not have
    const QJsonValue existing = doc.value(QStringLiteral("adapters"));
    QJsonObject adaptersObj = existing.toObject();
    if (!existing.isObject()) {
        // Without an adapters object the panel has every adapter: name the ones it has now, so that the
        // object made here does not take the others away.
        for (int i = 0; i < 5; ++i) {
            if (adapters[static_cast<size_t>(i)].present)
                adaptersObj.insert(adapterKey(i), QJsonObject());
        }
    }
    const QString name = adapterKey(static_cast<int>(a - adapters.data()));
    QJsonObject o = adaptersObj.value(name).toObject();
    const auto writeStatic = [&](const char *field, IP value) {
        QJsonObject stat = o.value(QStringLiteral("static")).toObject();
        stat.insert(QString::fromLatin1(field), ipToText(value));
        o.insert(QStringLiteral("static"), stat);
    };
    switch (key) {
    case PersistedKey::Enabled:
        o.insert(QStringLiteral("enabled"), a->enabled);
        break;
    case PersistedKey::Dhcp:
        o.insert(QStringLiteral("dhcp"), a->dhcp);
        break;
    case PersistedKey::StaticIp:
        writeStatic("ip", a->stat.ip);
        break;
    case PersistedKey::StaticMask:
        writeStatic("mask", a->stat.mask);
        break;
    case PersistedKey::StaticGateway:
        writeStatic("gateway", a->stat.gateway);
        break;
    case PersistedKey::Dns:
        o.insert(QStringLiteral("dns"), QJsonArray{ipToText(a->dns.first), ipToText(a->dns.second)});
        break;
    case PersistedKey::Brightness:
        break;
    }
    adaptersObj.insert(name, o);
    doc.insert(QStringLiteral("adapters"), adaptersObj);
    return true;
}

} // namespace HMI
