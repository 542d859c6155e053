#pragma once

#include <QRgb>

namespace QSP::Palette {

/// The colours that several parts of the settings screen share; a part's own colours stay with it. The QML
/// documents read them from the singleton Palette (QmlPalette), named in lower camel case.
constexpr QRgb Accent = 0xFF3482FF;      ///< switches that are on, focused frames, primary buttons
constexpr QRgb Focus = 0xFF3269CE;       ///< pressed accents and result texts
constexpr QRgb Border = 0xFFE6E7E9;      ///< frames of dialogs, fields and rows
constexpr QRgb Text = 0xFF1D2129;        ///< normal text
constexpr QRgb MutedText = 0xFF86909C;   ///< captions and titles of secondary rank
constexpr QRgb Error = 0xFFFF4D4F;       ///< failures
constexpr QRgb Good = 0xFF00BC79;        ///< success
constexpr QRgb Background = 0xFFF4F5F5;  ///< behind the cards and the menu's separators
constexpr QRgb Highlight = 0xFFF2F3F5;   ///< the chosen row of the menu and of a list
constexpr QRgb Inactive = 0xFFC9CDD4;    ///< switches that are off, the empty part of a slider
constexpr QRgb FieldBorder = 0xFFE2E2E2; ///< frames of address fields and drop-down lists

} // namespace QSP::Palette
