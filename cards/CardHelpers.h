#pragma once

class QQuickText;

namespace QSP {

/// Height of the title rows of the cards beside the Network card (DNS servers, default adapter): fixed steps
/// in portrait, a share of the width in landscape (52 on a 1024 pixels wide screen).
int sideCardRowHeight();

/// Shows @p source, translated in @p context, in @p text and follows every language change; nothing
/// without a text.
void bindTranslatedText(QQuickText *text, const char *context, const char *source);

} // namespace QSP
