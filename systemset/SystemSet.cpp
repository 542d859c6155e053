#include "SystemSet.h"

#include "SystemSetPrivate.h"

#include <QByteArray>
#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>

namespace HMI {

namespace {

const char *envOrEmpty(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

/// A name for the log: in quotes as it is when it is printable UTF-8 without quotes or backslashes, else
/// "hex:" and its bytes, so that no name can end the quotes early or write a line of its own.
std::string ssidForLog(const std::string &bytes)
{
    const QByteArray raw = QByteArray::fromStdString(bytes);
    const QString text = QString::fromUtf8(raw);
    bool printable = text.toUtf8() == raw;
    for (const uint c : text.toUcs4()) {
        // C0 and C1 controls, DEL, the line and paragraph separators, and the log's own quoting.
        if (c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029 || c == '"' || c == '\\')
            printable = false;
    }
    if (printable)
        return '"' + bytes + '"';
    return "\"hex:" + raw.toHex().toStdString() + '"';
}

std::string ssidBytes(const SSID &ssid)
{
    const auto end = std::find(ssid.begin(), ssid.begin() + 32, '\0');
    return std::string(ssid.begin(), end);
}

} // namespace

SystemSet::SystemSet()
    : d(std::make_unique<Private>())
{
    d->logFile = envOrEmpty("QSP_PANEL_LOG");
    d->load(envOrEmpty("QSP_PANEL_STATE"));
}

SystemSet::~SystemSet() = default;

static std::string b(bool v)
{
    return v ? "1" : "0";
}

static std::string ip(IP v)
{
    return PanelState::ipToText(v).toStdString();
}

static std::string n(long long v)
{
    return std::to_string(v);
}

int SystemSet::getAllNIC() const
{
    const auto lock = d->lock();
    int mask = 0;
    for (int i = 0; i < 5; ++i) {
        if (d->live.adapters[static_cast<size_t>(i)].present)
            mask |= PanelState::nicOfIndex(i);
    }
    return mask;
}

bool SystemSet::isNicEnabled(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present && a->enabled;
}

void SystemSet::enableNIC(NIC nic, bool enable, bool persist)
{
    const auto lock = d->lock();
    d->append("enableNIC " + n(nic) + ' ' + b(enable) + ' ' + b(persist));
    if (!d->live.adapter(nic))
        return;
    d->change(persist, [&](PanelState &s) { s.adapter(nic)->enabled = enable; });
}

bool SystemSet::isDhcpOn(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present && a->dhcp;
}

void SystemSet::setDHCP(NIC nic, bool on, std::function<void(DHCP_STATE)> const &callback, bool persist)
{
    const auto lock = d->lock();
    d->append("setDHCP " + n(nic) + ' ' + b(on) + ' ' + b(persist));
    if (d->live.adapter(nic))
        d->change(persist, [&](PanelState &s) { s.adapter(nic)->dhcp = on; });
    if (callback) {
        const auto state = static_cast<DHCP_STATE>(d->live.dhcpState);
        d->worker.post(d->live.delayDhcp, [callback, state] { callback(state); });
    }
}

IP SystemSet::getIp(NIC nic) const
{
    return d->liveAddress(nic, &PanelState::Addresses::ip);
}

IP SystemSet::getSubnetMask(NIC nic) const
{
    return d->liveAddress(nic, &PanelState::Addresses::mask);
}

IP SystemSet::getGateway(NIC nic) const
{
    return d->liveAddress(nic, &PanelState::Addresses::gateway);
}

IP SystemSet::getIpFromEE(NIC nic) const
{
    return d->storedAddress(nic, &PanelState::Addresses::ip);
}

IP SystemSet::getSubnetMaskFromEE(NIC nic) const
{
    return d->storedAddress(nic, &PanelState::Addresses::mask);
}

IP SystemSet::getGatewayFromEE(NIC nic) const
{
    return d->storedAddress(nic, &PanelState::Addresses::gateway);
}

void SystemSet::setIp(NIC nic, IP address, bool persist)
{
    d->setStoredAddress("setIp", nic, &PanelState::Addresses::ip, address, persist);
}

void SystemSet::setSubnetMask(NIC nic, IP mask, bool persist)
{
    d->setStoredAddress("setSubnetMask", nic, &PanelState::Addresses::mask, mask, persist);
}

void SystemSet::setGateway(NIC nic, IP gateway, bool persist)
{
    d->setStoredAddress("setGateway", nic, &PanelState::Addresses::gateway, gateway, persist);
}

MAC SystemSet::getMac(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present ? a->mac : MAC{};
}

std::pair<IP, IP> SystemSet::getDns(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present ? a->dns : std::pair<IP, IP>{0, 0};
}

void SystemSet::setDns(NIC nic, std::pair<IP, IP> const &dns)
{
    const auto lock = d->lock();
    d->append("setDns " + n(nic) + ' ' + ip(dns.first) + ' ' + ip(dns.second));
    if (d->live.adapter(nic))
        d->change(true, [&](PanelState &s) { s.adapter(nic)->dns = dns; });
}

SystemSet::NIC SystemSet::getDefaultNIC() const
{
    const auto lock = d->lock();
    return d->live.defaultAdapter;
}

void SystemSet::setDefaultNIC(NIC nic, bool flag)
{
    const auto lock = d->lock();
    d->append("setDefaultNIC " + n(nic) + ' ' + b(flag));
    if (d->live.adapter(nic))
        d->live.defaultAdapter = nic;
}

void SystemSet::pingTest(NIC nic, std::function<void(bool)> const &callback)
{
    const auto lock = d->lock();
    d->append("pingTest " + n(nic));
    if (callback) {
        const bool result = d->live.ping;
        d->worker.post(d->live.delayPing, [callback, result] { callback(result); });
    }
}

int SystemSet::get4GSignal(NIC nic) const
{
    const auto lock = d->lock();
    return nic == NIC_4G && d->live.adapters[3].present ? d->live.modemSignal : 0;
}

int SystemSet::get4GState(NIC nic) const
{
    const auto lock = d->lock();
    return nic == NIC_4G && d->live.adapters[3].present ? d->live.modemState : 0;
}

SystemSet::VPNServer SystemSet::getVPNServer() const
{
    const auto lock = d->lock();
    return static_cast<VPNServer>(d->live.vpnServer);
}

void SystemSet::setVPNServer(VPNServer server)
{
    const auto lock = d->lock();
    d->append("setVPNServer " + n(server));
    if (server == VPN_ASIA || server == VPN_EUROPE)
        d->live.vpnServer = server;
}

int SystemSet::getVPNServerState(VPNServer) const
{
    const auto lock = d->lock();
    return d->live.adapters[4].enabled ? d->live.vpnState : 0;
}

void SystemSet::resetVPNIp(VPNServer server)
{
    const auto lock = d->lock();
    d->append("resetVPNIp " + n(server));
}

bool SystemSet::isWifiConnected() const
{
    const auto lock = d->lock();
    return d->live.wifiConnected.has_value();
}

SSID SystemSet::currentWifiSsid() const
{
    const auto lock = d->lock();
    SSID ssid{};
    if (d->live.wifiConnected) {
        const std::string &name = *d->live.wifiConnected;
        std::copy_n(name.begin(), std::min<size_t>(name.size(), 32), ssid.begin());
    }
    return ssid;
}

int SystemSet::currentWifiSignalStrength() const
{
    const auto lock = d->lock();
    return d->live.wifiConnected ? d->live.wifiStrength : 0;
}

namespace {

std::unique_ptr<std::vector<SystemSet::SsidInfo>> scanResult(const PanelState &s)
{
    if (!s.scanReturnsList)
        return nullptr;
    auto list = std::make_unique<std::vector<SystemSet::SsidInfo>>();
    list->reserve(s.networks.size());
    for (const auto &net : s.networks) {
        SystemSet::SsidInfo info;
        std::copy_n(net.ssid.begin(), std::min<size_t>(net.ssid.size(), 32), info.ssid.begin());
        info.password = net.password;
        info.signal = static_cast<std::uint8_t>(std::clamp(net.strength, 0, 255));
        info.encrypted = net.secured ? 1 : 0;
        list->push_back(std::move(info));
    }
    return list;
}

} // namespace

void SystemSet::scanWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    const auto lock = d->lock();
    d->append("scanWifi");
    if (!callback)
        return;
    Private *p = d.get();
    d->worker.post(d->live.delayScan, [p, callback] {
        std::unique_ptr<std::vector<SsidInfo>> list;
        {
            const auto lock = p->lock();
            list = scanResult(p->live);
        }
        callback(std::move(list));
    });
}

void SystemSet::resetWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    const auto lock = d->lock();
    d->append("resetWifi");
    d->live.wifiConnected.reset();
    if (!callback)
        return;
    Private *p = d.get();
    d->worker.post(d->live.delayReset, [p, callback] {
        std::unique_ptr<std::vector<SsidInfo>> list;
        {
            const auto lock = p->lock();
            list = scanResult(p->live);
        }
        callback(std::move(list));
    });
}

void SystemSet::connectWifi(std::array<char, 33u> const &ssid, std::string const &password,
                            std::function<void(StateWifi)> const &callback)
{
    const auto lock = d->lock();
    const std::string name = ssidBytes(ssid);
    d->append("connectWifi " + ssidForLog(name) + " pw=" + n(static_cast<long long>(password.size())));
    Private *p = d.get();
    if (callback)
        d->worker.post(0, [callback] { callback(WIFI_CONNECTING); });
    d->worker.post(d->live.delayConnect, [p, callback, name, password] {
        int outcome = WIFI_OFFLINE;
        {
            const auto lock = p->lock();
            const auto &nets = p->live.networks;
            const auto net = std::find_if(nets.begin(), nets.end(),
                                          [&](const PanelState::Network &n) { return n.ssid == name; });
            if (net == nets.end())
                outcome = WIFI_OFFLINE;
            else if (net->result)
                outcome = *net->result;
            else if (net->secured && password != net->secret)
                outcome = WIFI_WRONG_PASSWORD;
            else
                outcome = WIFI_CONNECTED;
            if (outcome == WIFI_CONNECTED) {
                p->live.wifiConnected = name;
                if (net != nets.end())
                    p->live.wifiStrength = net->strength;
            }
        }
        if (callback)
            callback(static_cast<StateWifi>(outcome));
    });
}

void SystemSet::beep(bool on) const
{
    const auto lock = d->lock();
    d->append("beep " + b(on));
}

bool SystemSet::isBuzzerOn() const
{
    const auto lock = d->lock();
    return d->live.buzzer;
}

void SystemSet::setBuzzerOn(bool on)
{
    const auto lock = d->lock();
    d->append("setBuzzerOn " + b(on));
    d->live.buzzer = on;
}

SystemSet::Bright SystemSet::bright() const
{
    const auto lock = d->lock();
    return d->live.brightness;
}

void SystemSet::setBright(Bright level, bool persist)
{
    const auto lock = d->lock();
    d->append("setBright " + n(level) + ' ' + b(persist));
    const int clamped = std::clamp(level, 1, 32);
    d->change(persist, [&](PanelState &s) { s.brightness = clamped; });
}

bool SystemSet::setSystemTime(long secsSinceEpoch)
{
    const auto lock = d->lock();
    d->append("setSystemTime " + n(secsSinceEpoch));
    return d->live.clockSettable;
}

void SystemSet::syncHwclock()
{
    const auto lock = d->lock();
    d->append("syncHwclock");
}

SystemSet::Language SystemSet::getLanguage() const
{
    const auto lock = d->lock();
    // Another program may have switched the language: follow the file when it changed since it was last seen.
    if (!d->stateFile.empty()) {
        const auto now = modificationTime(d->stateFile);
        if (now && now != d->seenTime) {
            d->seenTime = now;
            QFile file(QString::fromStdString(d->stateFile));
            if (file.open(QIODevice::ReadOnly)) {
                QJsonParseError error{};
                const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &error);
                if (error.error != QJsonParseError::NoError || !doc.isObject()) {
                    std::fprintf(stderr,
                                 "panel state %s: not valid JSON: %s at offset %d; language unchanged\n",
                                 d->stateFile.c_str(), qPrintable(error.errorString()), error.offset);
                } else {
                    d->live.readLanguage(doc.object(), QString::fromStdString(d->stateFile));
                }
            }
        }
    }
    return static_cast<Language>(d->live.language);
}

void SystemSet::setLanguage(Language language)
{
    const auto lock = d->lock();
    d->append("setLanguage " + n(language));
    d->live.language = language;
}

std::string SystemSet::getSerialNumber()
{
    const auto lock = d->lock();
    return d->live.serial;
}

void SystemSet::reboot()
{
    const auto lock = d->lock();
    d->append("reboot");
    std::fprintf(stderr, "panel: reboot requested (simulated, nothing restarts)\n");
}

} // namespace HMI
