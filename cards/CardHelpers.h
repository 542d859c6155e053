#pragma once

#include "shell/AppRootItem.h"
#include "systemset/SystemSet.h"

#include <QtQuick/private/qquickitem_p.h>

class QQuickItem;
class QString;
class QQuickText;

namespace QSP {

class CIpInput;

/// Height of the title rows of the cards beside the Network card (DNS servers, default adapter): fixed steps
/// in portrait, a share of the width in landscape (52 on a 1024 pixels wide screen).
int sideCardRowHeight();

/// Shows @p source, translated in @p context, in @p text and follows every language change; nothing
/// without a text.
void bindTranslatedText(QQuickText *text, const char *context, const char *source);

/// The card @p which of the settings screen as a @p Card; null without a root item, or when the card has
/// not been made.
template<typename Card>
Card *screenCard(AppRootItem::Cards which)
{
    AppRootItem *root = AppRootItem::instance();
    return root ? qobject_cast<Card *>(root->getCardItem(which)) : nullptr;
}

/// @p ip in dotted form, first octet first.
QString dotted(HMI::IP ip);
/// Shows @p ip in @p input, unless the user is typing in it; nothing without a field.
void showAddress(CIpInput *input, HMI::IP ip);

/// The anchors of @p item, as QML's "anchors" group.
QQuickAnchors *anchorsOf(QQuickItem *item);
QQuickAnchorLine leftOf(QQuickItem *item);
QQuickAnchorLine rightOf(QQuickItem *item);
QQuickAnchorLine verticalCenterOf(QQuickItem *item);
/// Anchors @p item at the right end of @p row, @p margin from it, vertically centred.
void anchorRight(QQuickItem *item, QQuickItem *row, qreal margin);
/// Centres @p item vertically in @p in.
void centreVertically(QQuickItem *item, QQuickItem *in);

/// A text item in @p parent that shows its text as plain text, never as markup (names from outside).
QQuickText *newPlainText(QQuickItem *parent);
/// Sets the pixel size of @p text's font.
void setPixelSize(QQuickText *text, int pixelSize);

} // namespace QSP
