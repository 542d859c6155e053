#pragma once

#include "AppRootItem.h"
#include "ISystemSet.h"

#include <QLibrary>
#include <QPoint>
#include <QPointer>
#include <QSize>
#include <QStringList>

#include <memory>
#include <string>

class QQmlEngine;
class QQuickWindow;

/// The settings screen as a host builds it: the library loaded through its exports, init() at a screen
/// size, the root item in a shown window, opened. Plus what tests need to drive it like a person.
class ScreenFixture
{
public:
    ScreenFixture();
    ~ScreenFixture(); ///< deletes the screen, so that another can be built

    /// Builds the screen, its popups at @p popupZ; false (with a warning) when anything on the way fails.
    bool load(const QSize &size = QSize(1024, 600), int popupZ = 20000);

    QQuickWindow *window() const { return m_window.get(); }
    QSP::AppRootItem *root() const { return m_root; }
    void open() { m_settings->open(); }
    void close() { m_settings->close(); }

    /// Taps the menu button of @p page (back to the menu first where pages replace it); true when the page
    /// is current afterwards.
    bool showPage(QSP::AppRootItem::MenuIndex page);
    QQuickItem *card(QSP::AppRootItem::Cards card) const { return m_root->getCardItem(card); }

    /// Clicks the centre of @p item with the mouse; for a button, true when it emitted exactly one clicked.
    bool clickButton(QQuickItem *item);
    bool click(QQuickItem *item);

    static QPoint centreOf(QQuickItem *item);
    /// The first visible item under @p under whose "text" property is @p text, or null.
    static QQuickItem *findText(QQuickItem *under, const QString &text);
    /// The "text" of every visible text item under @p under, in tree order.
    static QStringList visibleTexts(QQuickItem *under);
    /// How many logged calls of the simulated panel start with @p prefix.
    static int calls(const std::string &prefix);

private:
    QLibrary m_library;
    std::shared_ptr<ISystemSet> m_settings;
    std::unique_ptr<QQuickWindow> m_window;
    QPointer<QSP::AppRootItem> m_root;
};
