#include "systemset/SimulatedPanel.h"

#include <QJsonDocument>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <sys/stat.h>

namespace HMI {

namespace {

std::string ssidBytes(const SSID &ssid)
{
    const auto end = std::find(ssid.begin(), ssid.begin() + 32, '\0');
    return std::string(ssid.begin(), end);
}

} // namespace

SimulatedPanel::SimulatedPanel(const std::string &path)
{
    load(path);
}

void SimulatedPanel::load(const std::string &path)
{
    live = PanelState();
    fileUnusable = false;
    stateFile = path;
    seen = FileSignature();
    lastProblem.clear();
    if (path.empty())
        return;
    StateFile::removeStaleTemporaries(path);
    const FileSnapshot now = snapshot();
    seen = now.signature;
    if (now.readable) {
        readDocument(now.bytes, QString::fromStdString(path));
    } else if (now.signature.exists) {
        std::fprintf(stderr, "panel state %s: cannot be read (%s); using the defaults\n", path.c_str(),
                     qPrintable(now.error));
        fileUnusable = true;
    }
}

void SimulatedPanel::readDocument(const QByteArray &text, const QString &name)
{
    std::string why;
    if (const auto doc = StateFile::parse(text, why)) {
        live.read(*doc, name);
    } else {
        std::fprintf(stderr, "panel state %s: %s; using the defaults\n", qPrintable(name), why.c_str());
        fileUnusable = true;
    }
}

FileSnapshot SimulatedPanel::snapshot() const
{
    return StateFile::read(stateFile);
}

void SimulatedPanel::followLanguage()
{
    if (stateFile.empty())
        return;
    // A file that was found as seen well after its time stamp, and still has that time stamp and size, has
    // not been written since: a later write would carry a later stamp. Only then are its bytes not read and
    // hashed again (a write in the same tick as the one seen is told by its content).
    timespec clock{};
    clock_gettime(CLOCK_REALTIME, &clock);
    const std::int64_t nowNs = std::int64_t(clock.tv_sec) * 1000000000 + clock.tv_nsec;
    struct stat st
    {};
    constexpr std::int64_t settledNs = 2000000000;
    if (seen.exists && seenCheckedNs - seen.modifiedNs > settledNs && ::stat(stateFile.c_str(), &st) == 0 &&
        StateFile::modifiedNs(st) == seen.modifiedNs && qint64(st.st_size) == seen.size)
        return;
    const FileSnapshot now = snapshot();
    if (now.signature == seen) {
        seenCheckedNs = nowNs;
        return;
    }
    seen = now.signature;
    seenCheckedNs = 0;
    if (!now.readable)
        return;
    std::string why;
    if (const auto doc = StateFile::parse(now.bytes, why))
        live.readLanguage(*doc, QString::fromStdString(stateFile));
    else
        std::fprintf(stderr, "panel state %s: %s; language unchanged\n", stateFile.c_str(), why.c_str());
}

void SimulatedPanel::persist(PanelState::PersistedKey key, int nic)
{
    if (stateFile.empty())
        return;
    const std::string name = "panel state " + stateFile + ": ";
    const std::string keptInMemory = "; the change is kept in memory only";
    if (fileUnusable) {
        reportOnce(name + "not overwriting a file that could not be read" + keptInMemory);
        return;
    }
    // Another program may have written the file since: merge into it as it is now.
    const FileSnapshot now = snapshot();
    QJsonObject doc;
    if (now.signature.exists) {
        if (!now.readable) {
            reportOnce(name + "cannot be read (" + now.error.toStdString() + "); not overwriting it" +
                       keptInMemory);
            return;
        }
        std::string why;
        const auto parsed = StateFile::parse(now.bytes, why);
        if (!parsed) {
            seen = now.signature;
            reportOnce(name + why + "; not overwriting it" + keptInMemory);
            return;
        }
        doc = *parsed;
        if (now.signature != seen) { // the other program's language counts, as getLanguage would take it
            live.readLanguage(doc, QString::fromStdString(stateFile));
            seen = now.signature;
        }
    }
    if (!live.writeKey(doc, key, nic))
        return;
    const QByteArray bytes = QJsonDocument(doc).toJson();
    const std::string error = StateFile::replace(stateFile, bytes);
    if (!error.empty()) {
        reportOnce(name + "cannot be written (" + error + ")" + keptInMemory);
        return;
    }
    // What was written is no outside change. A write by another program right after this one has a
    // content of its own, so it is still seen even when it left the same time stamp and size.
    seen = StateFile::written(stateFile, bytes);
    lastProblem.clear();
}

void SimulatedPanel::reportOnce(const std::string &message)
{
    if (message == lastProblem)
        return;
    lastProblem = message;
    std::fprintf(stderr, "%s\n", message.c_str());
}

int SimulatedPanel::getAllNIC() const
{
    const auto guard = lock();
    int mask = 0;
    for (int i = 0; i < 5; ++i) {
        if (live.adapters[static_cast<size_t>(i)].present)
            mask |= PanelState::nicOfIndex(i);
    }
    return mask;
}

bool SimulatedPanel::isNicEnabled(NIC nic) const
{
    const auto guard = lock();
    const auto *a = live.adapter(nic);
    return a && a->present && a->enabled;
}

void SimulatedPanel::enableNIC(NIC nic, bool enable, bool persist)
{
    const auto guard = lock();
    if (!live.adapter(nic))
        return;
    change(persist, PanelState::PersistedKey::Enabled, nic,
           [&](PanelState &s) { s.adapter(nic)->enabled = enable; });
}

bool SimulatedPanel::isDhcpOn(NIC nic) const
{
    const auto guard = lock();
    const auto *a = live.adapter(nic);
    return a && a->present && a->dhcp;
}

void SimulatedPanel::setDHCP(NIC nic, bool on, std::function<void(DHCP_STATE)> const &callback, bool persist)
{
    const auto guard = lock();
    if (live.adapter(nic))
        change(persist, PanelState::PersistedKey::Dhcp, nic,
               [&](PanelState &s) { s.adapter(nic)->dhcp = on; });
    if (callback) {
        const auto state = static_cast<DHCP_STATE>(live.dhcpState);
        worker.post(live.delayDhcp, [callback, state] { callback(state); });
    }
}

IP SimulatedPanel::getIp(NIC nic) const
{
    return liveAddress(nic, &PanelState::Addresses::ip);
}

IP SimulatedPanel::getSubnetMask(NIC nic) const
{
    return liveAddress(nic, &PanelState::Addresses::mask);
}

IP SimulatedPanel::getGateway(NIC nic) const
{
    return liveAddress(nic, &PanelState::Addresses::gateway);
}

IP SimulatedPanel::getIpFromEE(NIC nic) const
{
    return storedAddress(nic, &PanelState::Addresses::ip);
}

IP SimulatedPanel::getSubnetMaskFromEE(NIC nic) const
{
    return storedAddress(nic, &PanelState::Addresses::mask);
}

IP SimulatedPanel::getGatewayFromEE(NIC nic) const
{
    return storedAddress(nic, &PanelState::Addresses::gateway);
}

void SimulatedPanel::setIp(NIC nic, IP address, bool persist)
{
    setStoredAddress(nic, &PanelState::Addresses::ip, PanelState::PersistedKey::StaticIp, address, persist);
}

void SimulatedPanel::setSubnetMask(NIC nic, IP mask, bool persist)
{
    setStoredAddress(nic, &PanelState::Addresses::mask, PanelState::PersistedKey::StaticMask, mask, persist);
}

void SimulatedPanel::setGateway(NIC nic, IP gateway, bool persist)
{
    setStoredAddress(nic, &PanelState::Addresses::gateway, PanelState::PersistedKey::StaticGateway, gateway,
                     persist);
}

MAC SimulatedPanel::getMac(NIC nic) const
{
    const auto guard = lock();
    const auto *a = live.adapter(nic);
    return a && a->present ? a->mac : MAC{};
}

std::pair<IP, IP> SimulatedPanel::getDns(NIC nic) const
{
    const auto guard = lock();
    const auto *a = live.adapter(nic);
    return a && a->present ? a->dns : std::pair<IP, IP>{0, 0};
}

void SimulatedPanel::setDns(NIC nic, std::pair<IP, IP> const &dns)
{
    const auto guard = lock();
    if (live.adapter(nic))
        change(true, PanelState::PersistedKey::Dns, nic, [&](PanelState &s) { s.adapter(nic)->dns = dns; });
}

SystemSet::NIC SimulatedPanel::getDefaultNIC() const
{
    const auto guard = lock();
    return live.defaultAdapter;
}

void SimulatedPanel::setDefaultNIC(NIC nic, bool)
{
    const auto guard = lock();
    if (live.adapter(nic))
        live.defaultAdapter = nic;
}

void SimulatedPanel::pingTest(NIC, std::function<void(bool)> const &callback)
{
    const auto guard = lock();
    if (callback) {
        const bool result = live.ping;
        worker.post(live.delayPing, [callback, result] { callback(result); });
    }
}

int SimulatedPanel::get4GSignal(NIC nic) const
{
    const auto guard = lock();
    return nic == SystemSet::NIC_4G && live.adapters[3].present ? live.modemSignal : 0;
}

int SimulatedPanel::get4GState(NIC nic) const
{
    const auto guard = lock();
    return nic == SystemSet::NIC_4G && live.adapters[3].present ? live.modemState : 0;
}

SystemSet::VPNServer SimulatedPanel::getVPNServer() const
{
    const auto guard = lock();
    return static_cast<VPNServer>(live.vpnServer);
}

void SimulatedPanel::setVPNServer(VPNServer server)
{
    const auto guard = lock();
    if (server == SystemSet::VPN_ASIA || server == SystemSet::VPN_EUROPE)
        live.vpnServer = server;
}

int SimulatedPanel::getVPNServerState(VPNServer) const
{
    const auto guard = lock();
    return live.adapters[4].enabled ? live.vpnState : 0;
}

void SimulatedPanel::resetVPNIp(VPNServer)
{
    // The simulated tunnel keeps its state: only the call log shows the request.
}

bool SimulatedPanel::isWifiConnected() const
{
    const auto guard = lock();
    return live.wifiConnected.has_value();
}

SSID SimulatedPanel::currentWifiSsid() const
{
    const auto guard = lock();
    SSID ssid{};
    if (live.wifiConnected) {
        const std::string &name = *live.wifiConnected;
        std::copy_n(name.begin(), std::min<size_t>(name.size(), 32), ssid.begin());
    }
    return ssid;
}

int SimulatedPanel::currentWifiSignalStrength() const
{
    const auto guard = lock();
    return live.wifiConnected ? live.wifiStrength : 0;
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

void SimulatedPanel::scanWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    const auto guard = lock();
    if (!callback)
        return;
    SimulatedPanel *p = this;
    worker.post(live.delayScan, [p, callback] {
        std::unique_ptr<std::vector<SsidInfo>> list;
        {
            const auto guard = p->lock();
            list = scanResult(p->live);
        }
        callback(std::move(list));
    });
}

void SimulatedPanel::resetWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    const auto guard = lock();
    live.wifiConnected.reset();
    if (!callback)
        return;
    SimulatedPanel *p = this;
    worker.post(live.delayReset, [p, callback] {
        std::unique_ptr<std::vector<SsidInfo>> list;
        {
            const auto guard = p->lock();
            list = scanResult(p->live);
        }
        callback(std::move(list));
    });
}

void SimulatedPanel::connectWifi(std::array<char, 33u> const &ssid, std::string const &password,
                                 std::function<void(StateWifi)> const &callback)
{
    const auto guard = lock();
    const std::string name = ssidBytes(ssid);
    SimulatedPanel *p = this;
    if (callback)
        worker.post(0, [callback] { callback(SystemSet::WIFI_CONNECTING); });
    worker.post(live.delayConnect, [p, callback, name, password] {
        int outcome = SystemSet::WIFI_OFFLINE;
        {
            const auto guard = p->lock();
            const auto &nets = p->live.networks;
            const auto net = std::find_if(nets.begin(), nets.end(),
                                          [&](const PanelState::Network &n) { return n.ssid == name; });
            if (net == nets.end())
                outcome = SystemSet::WIFI_OFFLINE;
            else if (net->result)
                outcome = *net->result;
            else if (net->secured && password != net->secret)
                outcome = SystemSet::WIFI_WRONG_PASSWORD;
            else
                outcome = SystemSet::WIFI_CONNECTED;
            if (outcome == SystemSet::WIFI_CONNECTED) {
                p->live.wifiConnected = name;
                if (net != nets.end())
                    p->live.wifiStrength = net->strength;
            }
        }
        if (callback)
            callback(static_cast<StateWifi>(outcome));
    });
}

void SimulatedPanel::beep(bool) const
{
    // The simulated panel has no buzzer: only the call log shows the click.
}

bool SimulatedPanel::isBuzzerOn() const
{
    const auto guard = lock();
    return live.buzzer;
}

void SimulatedPanel::setBuzzerOn(bool on)
{
    const auto guard = lock();
    live.buzzer = on;
}

SystemSet::Bright SimulatedPanel::bright() const
{
    const auto guard = lock();
    return live.brightness;
}

void SimulatedPanel::setBright(Bright level, bool persist)
{
    const auto guard = lock();
    const int clamped = std::clamp(level, 1, 32);
    change(persist, PanelState::PersistedKey::Brightness, 0, [&](PanelState &s) { s.brightness = clamped; });
}

bool SimulatedPanel::setSystemTime(long)
{
    const auto guard = lock();
    return live.clockSettable;
}

void SimulatedPanel::syncHwclock() {}

SystemSet::Language SimulatedPanel::getLanguage() const
{
    const auto guard = lock();
    // Reading the language takes another program's change of the state file, as the panel does.
    const_cast<SimulatedPanel *>(this)->followLanguage();
    return static_cast<Language>(live.language);
}

void SimulatedPanel::setLanguage(Language language)
{
    const auto guard = lock();
    live.language = language == SystemSet::LANG_CHINESE ? SystemSet::LANG_CHINESE : SystemSet::LANG_ENGLISH;
}

std::string SimulatedPanel::getSerialNumber()
{
    const auto guard = lock();
    return live.serial;
}

void SimulatedPanel::reboot()
{
    const auto guard = lock();
    std::fprintf(stderr, "panel: reboot requested (simulated, nothing restarts)\n");
}

bool SimulatedPanel::waitForIdle(int timeoutMs)
{
    return worker.waitForIdle(timeoutMs);
}

int SimulatedPanel::pendingCallbacks() const
{
    return worker.pending();
}

bool SimulatedPanel::isCallbackThread() const
{
    return worker.isWorkerThread();
}

} // namespace HMI
