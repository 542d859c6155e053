#pragma once

#include <QRgb>

namespace QSP::Palette {

/// The colours that several parts of the settings screen share; a part's own colours stay with it.
constexpr QRgb Accent = 0xFF3482FF;    ///< switches that are on, focused frames, primary buttons
constexpr QRgb Focus = 0xFF3269CE;     ///< pressed accents and result texts
constexpr QRgb Border = 0xFFE6E7E9;    ///< frames of dialogs, fields and rows
constexpr QRgb Text = 0xFF1D2129;      ///< normal text
constexpr QRgb MutedText = 0xFF86909C; ///< captions and titles of secondary rank
constexpr QRgb Error = 0xFFFF4D4F;     ///< failures
constexpr QRgb Good = 0xFF00BC79;      ///< success

} // namespace QSP::Palette
