#include "systemset/SystemSet.h"

#include "systemset/LinuxBackend.h"
#include "systemset/PanelState.h"
#include "systemset/SimulatedPanel.h"
#include "systemset/SystemSetPrivate.h"

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

std::string b(bool v)
{
    return v ? "1" : "0";
}

std::string ip(IP v)
{
    return PanelState::ipToText(v).toStdString();
}

std::string n(long long v)
{
    return std::to_string(v);
}

} // namespace

SystemSet::SystemSet()
    : d(std::make_unique<Private>())
{
    d->log.setFile(envOrEmpty("QSP_PANEL_LOG"));
    const std::string panel = envOrEmpty("QSP_PANEL");
    if (panel == "linux") {
        d->backend = std::make_unique<LinuxBackend>();
        return;
    }
    if (!panel.empty() && panel != "simulated")
        std::fprintf(
            stderr, "panel: QSP_PANEL=%s is neither \"simulated\" nor \"linux\"; using the simulated panel\n",
            panel.c_str());
    auto simulated = std::make_unique<SimulatedPanel>(envOrEmpty("QSP_PANEL_STATE"));
    d->simulated = simulated.get();
    d->backend = std::move(simulated);
}

SystemSet::~SystemSet() = default;

int SystemSet::getAllNIC() const
{
    return d->backend->getAllNIC();
}

bool SystemSet::isNicEnabled(NIC nic) const
{
    return d->backend->isNicEnabled(nic);
}

void SystemSet::enableNIC(NIC nic, bool enable, bool persist)
{
    d->log.append("enableNIC " + n(nic) + ' ' + b(enable) + ' ' + b(persist));
    d->backend->enableNIC(nic, enable, persist);
}

bool SystemSet::isDhcpOn(NIC nic) const
{
    return d->backend->isDhcpOn(nic);
}

void SystemSet::setDHCP(NIC nic, bool on, std::function<void(DHCP_STATE)> const &callback, bool persist)
{
    d->log.append("setDHCP " + n(nic) + ' ' + b(on) + ' ' + b(persist));
    d->backend->setDHCP(nic, on, callback, persist);
}

IP SystemSet::getIp(NIC nic) const
{
    return d->backend->getIp(nic);
}

IP SystemSet::getSubnetMask(NIC nic) const
{
    return d->backend->getSubnetMask(nic);
}

IP SystemSet::getGateway(NIC nic) const
{
    return d->backend->getGateway(nic);
}

IP SystemSet::getIpFromEE(NIC nic) const
{
    return d->backend->getIpFromEE(nic);
}

IP SystemSet::getSubnetMaskFromEE(NIC nic) const
{
    return d->backend->getSubnetMaskFromEE(nic);
}

IP SystemSet::getGatewayFromEE(NIC nic) const
{
    return d->backend->getGatewayFromEE(nic);
}

void SystemSet::setIp(NIC nic, IP address, bool persist)
{
    d->log.append("setIp " + n(nic) + ' ' + ip(address) + ' ' + b(persist));
    d->backend->setIp(nic, address, persist);
}

void SystemSet::setSubnetMask(NIC nic, IP mask, bool persist)
{
    d->log.append("setSubnetMask " + n(nic) + ' ' + ip(mask) + ' ' + b(persist));
    d->backend->setSubnetMask(nic, mask, persist);
}

void SystemSet::setGateway(NIC nic, IP gateway, bool persist)
{
    d->log.append("setGateway " + n(nic) + ' ' + ip(gateway) + ' ' + b(persist));
    d->backend->setGateway(nic, gateway, persist);
}

MAC SystemSet::getMac(NIC nic) const
{
    return d->backend->getMac(nic);
}

std::pair<IP, IP> SystemSet::getDns(NIC nic) const
{
    return d->backend->getDns(nic);
}

void SystemSet::setDns(NIC nic, std::pair<IP, IP> const &dns)
{
    d->log.append("setDns " + n(nic) + ' ' + ip(dns.first) + ' ' + ip(dns.second));
    d->backend->setDns(nic, dns);
}

SystemSet::NIC SystemSet::getDefaultNIC() const
{
    return d->backend->getDefaultNIC();
}

void SystemSet::setDefaultNIC(NIC nic, bool flag)
{
    d->log.append("setDefaultNIC " + n(nic) + ' ' + b(flag));
    d->backend->setDefaultNIC(nic, flag);
}

void SystemSet::pingTest(NIC nic, std::function<void(bool)> const &callback)
{
    d->log.append("pingTest " + n(nic));
    d->backend->pingTest(nic, callback);
}

int SystemSet::get4GSignal(NIC nic) const
{
    return d->backend->get4GSignal(nic);
}

int SystemSet::get4GState(NIC nic) const
{
    return d->backend->get4GState(nic);
}

SystemSet::VPNServer SystemSet::getVPNServer() const
{
    return d->backend->getVPNServer();
}

void SystemSet::setVPNServer(VPNServer server)
{
    d->log.append("setVPNServer " + n(server));
    d->backend->setVPNServer(server);
}

int SystemSet::getVPNServerState(VPNServer server) const
{
    return d->backend->getVPNServerState(server);
}

void SystemSet::resetVPNIp(VPNServer server)
{
    d->log.append("resetVPNIp " + n(server));
    d->backend->resetVPNIp(server);
}

bool SystemSet::isWifiConnected() const
{
    return d->backend->isWifiConnected();
}

SSID SystemSet::currentWifiSsid() const
{
    return d->backend->currentWifiSsid();
}

int SystemSet::currentWifiSignalStrength() const
{
    return d->backend->currentWifiSignalStrength();
}

void SystemSet::scanWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    d->log.append("scanWifi");
    d->backend->scanWifi(callback);
}

void SystemSet::resetWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    d->log.append("resetWifi");
    d->backend->resetWifi(callback);
}

void SystemSet::connectWifi(std::array<char, 33u> const &ssid, std::string const &password,
                            std::function<void(StateWifi)> const &callback)
{
    d->log.append("connectWifi " + ssidForLog(ssidBytes(ssid)) +
                  " pw=" + n(static_cast<long long>(password.size())));
    d->backend->connectWifi(ssid, password, callback);
}

void SystemSet::beep(bool on) const
{
    d->log.append("beep " + b(on));
    d->backend->beep(on);
}

bool SystemSet::isBuzzerOn() const
{
    return d->backend->isBuzzerOn();
}

void SystemSet::setBuzzerOn(bool on)
{
    d->log.append("setBuzzerOn " + b(on));
    d->backend->setBuzzerOn(on);
}

SystemSet::Bright SystemSet::bright() const
{
    return d->backend->bright();
}

void SystemSet::setBright(Bright level, bool persist)
{
    d->log.append("setBright " + n(level) + ' ' + b(persist));
    d->backend->setBright(level, persist);
}

bool SystemSet::setSystemTime(long secsSinceEpoch)
{
    d->log.append("setSystemTime " + n(secsSinceEpoch));
    return d->backend->setSystemTime(secsSinceEpoch);
}

void SystemSet::syncHwclock()
{
    d->log.append("syncHwclock");
    d->backend->syncHwclock();
}

SystemSet::Language SystemSet::getLanguage() const
{
    return d->backend->getLanguage();
}

void SystemSet::setLanguage(Language language)
{
    d->log.append("setLanguage " + n(language));
    d->backend->setLanguage(language);
}

std::string SystemSet::getSerialNumber()
{
    return d->backend->getSerialNumber();
}

void SystemSet::reboot()
{
    d->log.append("reboot");
    d->backend->reboot();
}

} // namespace HMI
