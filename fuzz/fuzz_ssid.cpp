// Scanned and connected Wi-Fi names as the Wi-Fi card decodes them: up to 33 raw bytes from the system
// (32 name bytes and a terminator that may be missing), UTF-8 with a GB2312 fallback.

#include "cards/CardWifi.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    HMI::SSID ssid{};
    std::memcpy(ssid.data(), data, size < ssid.size() ? size : ssid.size());

    // What the card treats as the name: the bytes up to the first zero, never more than 32.
    const QByteArray bytes(ssid.data(), int(qstrnlen(ssid.data(), 32)));

    const QString scanned = QSP::CardWifi::getSsidFromScan(ssid);
    const QString current = QSP::CardWifi::getSsidFromCurWifi(ssid);

    // Every byte gives at most one UTF-16 unit (UTF-8 sequences and GB2312 pairs give fewer), so no
    // decoded name reaches past the 32 bytes.
    if (scanned.size() > 32 || current.size() > 32)
        std::abort();
    // Nothing is silently dropped: a name with bytes decodes to something.
    if (!bytes.isEmpty() && scanned.isEmpty())
        std::abort();
    // A name that is valid UTF-8 is shown exactly as those bytes say, byte for byte.
    const QString utf8 = QString::fromUtf8(bytes);
    if (utf8.toUtf8() == bytes && scanned.toUtf8() != bytes)
        std::abort();
    // The connected name reads exactly as the same bytes in the nearby list.
    if (current != scanned)
        std::abort();
    return 0;
}
