// Dotted IPv4 text as the address field assembles it, converted to a 32-bit address and back as the cards
// show addresses (QHostAddress) and as the simulated panel stores them.

#include "controls/CIpInput.h"
#include "PanelState.h"

#include <QHostAddress>
#include <QString>

#include <cstdint>
#include <cstdlib>

namespace {

void checkShown(quint32 address)
{
    const QString shown = QHostAddress(address).toString();
    quint32 back = 0;
    if (!QSP::CIpInput::parseAddress(shown, &back) || back != address)
        std::abort();
    if (HMI::PanelState::ipToText(address) != shown)
        std::abort();
    const auto stored = HMI::PanelState::ipFromText(shown);
    if (!stored || *stored != address)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), int(size));

    quint32 address = 0;
    const bool ok = QSP::CIpInput::parseAddress(text, &address);
    // The field and the simulated panel's state file agree on what an address is and which one.
    const auto stored = HMI::PanelState::ipFromText(text);
    if (ok != bool(stored) || (ok && *stored != address))
        std::abort();
    if (ok)
        checkShown(address);

    // Any 32-bit address is shown as text that reads back as the same address.
    if (size >= 4)
        checkShown(quint32(data[0]) << 24 | quint32(data[1]) << 16 | quint32(data[2]) << 8 |
                   quint32(data[3]));
    return 0;
}
