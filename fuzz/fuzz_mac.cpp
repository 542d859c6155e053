// The MAC address field's text: parsed into HMI::MAC and formatted back, as CMacInput does.

#include "controls/CMacInput.h"
#include "PanelState.h"

#include <QString>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), int(size));

    const HMI::MAC mac = QSP::CMacInput::parseMac(text);
    const QString shown = QSP::CMacInput::formatMac(mac);

    // Whatever was typed, the field then shows six upper-case pairs that read back as the same address.
    if (shown.size() != 17)
        std::abort();
    for (int i = 0; i < shown.size(); ++i) {
        const QChar c = shown.at(i);
        const bool ok = i % 3 == 2 ? c == QLatin1Char(':')
                                   : (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
                                         (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
        if (!ok)
            std::abort();
    }
    if (QSP::CMacInput::parseMac(shown) != mac)
        std::abort();
    // The simulated panel's state file accepts what the field shows, as the same address.
    const auto stored = HMI::PanelState::macFromText(shown);
    if (!stored || *stored != mac)
        std::abort();
    if (HMI::PanelState::macToText(mac) != shown)
        std::abort();
    // A strict address that the state file accepts is read the same way by the field.
    if (const auto strict = HMI::PanelState::macFromText(text)) {
        if (*strict != mac)
            std::abort();
    }

    // Any six bytes survive formatting and parsing.
    if (size >= 6) {
        HMI::MAC raw{};
        for (size_t i = 0; i < raw.size(); ++i)
            raw[i] = data[i];
        if (QSP::CMacInput::parseMac(QSP::CMacInput::formatMac(raw)) != raw)
            std::abort();
    }
    return 0;
}
