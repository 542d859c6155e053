#pragma once

#include <QObject>
#include <QVariant>

class QQuickText;

namespace QSP {

/// Height of the title rows of the cards beside the Network card (DNS servers, default adapter): fixed steps
/// in portrait, a share of the width in landscape (52 on a 1024 pixels wide screen).
int sideCardRowHeight();

/// The part of a card's document that the card's property @p name holds, when it is a @p T; else null.
template<typename T>
T *documentPart(const QObject *card, const char *name)
{
    return qobject_cast<T *>(card->property(name).value<QObject *>());
}

/// Shows @p source, translated in @p context, in @p text and follows every language change; nothing
/// without a text.
void bindTranslatedText(QQuickText *text, const char *context, const char *source);

} // namespace QSP
