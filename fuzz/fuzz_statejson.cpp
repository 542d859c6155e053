// The simulated panel's state file: the bytes parsed as JSON, read over the defaults (PanelState::read),
// the language re-read on its own (PanelState::readLanguage), and every persisted key written back into it
// (PanelState::writeKey), which must leave every other key as it was.

#include "PanelState.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QString>

#include <cstdint>
#include <cstdlib>

namespace {

bool sameAddresses(const HMI::PanelState::Addresses &a, const HMI::PanelState::Addresses &b)
{
    return a.ip == b.ip && a.mask == b.mask && a.gateway == b.gateway;
}

/// What the persisted keys hold, and what a re-read of the written document must give back.
bool samePersisted(const HMI::PanelState &a, const HMI::PanelState &b)
{
    for (size_t i = 0; i < a.adapters.size(); ++i) {
        const HMI::PanelState::Adapter &x = a.adapters[i];
        const HMI::PanelState::Adapter &y = b.adapters[i];
        if (x.present != y.present || x.enabled != y.enabled || x.dhcp != y.dhcp || x.mac != y.mac ||
            !sameAddresses(x.stat, y.stat) || !sameAddresses(x.lease, y.lease) || x.dns != y.dns)
            return false;
    }
    return a.brightness == b.brightness;
}

void checkState(const HMI::PanelState &s)
{
    for (const HMI::PanelState::Network &n : s.networks) {
        if (n.ssid.size() > 32)
            std::abort();
    }
    if (s.wifiConnected && s.wifiConnected->size() > 32)
        std::abort();
    if (s.delayDhcp < 0 || s.delayPing < 0 || s.delayScan < 0 || s.delayReset < 0 || s.delayConnect < 0)
        std::abort();
    if (s.vpnServer != 0 && s.vpnServer != 1)
        std::abort();
    // Values out of range are clamped.
    if (s.brightness < 1 || s.brightness > 32 || s.wifiStrength < 0 || s.wifiStrength > 100 ||
        (s.language != 0 && s.language != 1))
        std::abort();
    for (const HMI::PanelState::Network &n : s.networks) {
        if (n.strength < 0 || n.strength > 100)
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QJsonParseError error{};
    const QJsonDocument doc =
        QJsonDocument::fromJson(QByteArray(reinterpret_cast<const char *>(data), int(size)), &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return 0; // the simulator reports it and keeps its defaults
    const QJsonObject object = doc.object();
    const QString name = QStringLiteral("fuzz.json");

    HMI::PanelState state;
    state.read(object, name);
    checkState(state);

    // The language re-read reads the same key the same way.
    HMI::PanelState language;
    if (language.readLanguage(object, name) && language.language != state.language)
        std::abort();

    // Writing every persisted key back and reading the file again gives the same persisted state; the keys
    // that are not persisted stay as they were.
    using Key = HMI::PanelState::PersistedKey;
    QJsonObject written = object;
    for (size_t i = 0; i < state.adapters.size(); ++i) {
        if (!state.adapters[i].present)
            continue;
        for (Key key :
             {Key::Enabled, Key::Dhcp, Key::StaticIp, Key::StaticMask, Key::StaticGateway, Key::Dns})
            state.writeKey(written, key, HMI::PanelState::nicOfIndex(int(i)));
    }
    state.writeKey(written, Key::Brightness, 0);
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (it.key() != QLatin1String("adapters") && it.key() != QLatin1String("brightness") &&
            written.value(it.key()) != it.value())
            std::abort();
    }
    const QJsonDocument reread = QJsonDocument::fromJson(QJsonDocument(written).toJson());
    if (!reread.isObject())
        std::abort();
    HMI::PanelState again;
    again.read(reread.object(), name);
    checkState(again);
    if (!samePersisted(state, again))
        std::abort();
    return 0;
}
