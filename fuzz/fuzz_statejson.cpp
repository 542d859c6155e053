// The simulated panel's state file: the bytes parsed as JSON, read over the defaults (PanelState::read),
// the language re-read on its own (PanelState::readLanguage), and the persisted part written back.

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

/// What writePersisted() keeps, and what a re-read of the written document must give back.
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

    // Writing the persisted part back and reading the file again gives the same persisted state.
    QJsonObject written = object;
    state.writePersisted(written);
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
