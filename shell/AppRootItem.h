#pragma once

#include <QtQuick/private/qquickrectangle_p.h>

class QQmlEngine;

namespace QSP {

/// Root of the settings screen: title bar, menu and the column of cards.
class AppRootItem : public QQuickRectangle
{
    Q_OBJECT

public:
    explicit AppRootItem(QQuickItem *parent = nullptr);
    ~AppRootItem() override;

    /// The most recently made root item, or null.
    static AppRootItem *instance();

    /// Finds the parts of main.qml by their property names.
    void init(QQmlEngine *engine);

    /// The column that holds the cards of the current page.
    QQuickItem *getCardContainer() const { return m_cardsParent; }
    /// The title bar's height, truncated.
    int titleHeight() const;

Q_SIGNALS:
    void opened();

private:
    QQuickItem *m_titleBar = nullptr;
    QQuickItem *m_cardsParent = nullptr;
};

} // namespace QSP
