#pragma once

#include "systemset/SystemSet.h"

#include <QString>

namespace QSP {

/// A network name as every place of the screen shows it, scanned or connected: the bytes up to the first
/// zero, never more than 32, read as UTF-8, else as GB2312. A multi-byte character cut by the 32-byte
/// limit is dropped; a name that neither encoding reads is shown with replacement characters.
QString ssidText(const HMI::SSID &ssid);

/// @p ssid with its byte 32 set to 0, as the nearby list keeps names: a 32-byte name has no terminator of
/// its own.
HMI::SSID terminatedSsid(HMI::SSID ssid);

} // namespace QSP
