#pragma once

#include <QString>

class QQuickItem;
class QQuickWindow;

/// Drives a shown settings screen the way a finger does, knowing it only by what it shows.
namespace ScreenDriver {

/// The visible button under @p root whose text, or the text item it shows as its label, is @p text, or null.
QQuickItem *findButton(QQuickItem *root, const QString &text);
/// The item under @p root with the object name @p name, or null.
QQuickItem *findByName(QQuickItem *root, const QString &name);
/// The first visible, enabled text field under @p root (in the order of the item tree), or null.
QQuickItem *findTextField(QQuickItem *root);
/// Presses and releases the centre of @p item.
void tap(QQuickWindow *window, QQuickItem *item);
/// Runs the event loop for @p ms milliseconds.
void settle(int ms);

} // namespace ScreenDriver
