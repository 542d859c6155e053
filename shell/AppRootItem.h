#pragma once

#include <QtQuick/private/qquickrectangle_p.h>

#include <QFont>
#include <QPointer>
#include <QTimer>
#include <QVector>

#include <array>
#include <initializer_list>

class QQmlComponent;
class QQmlEngine;
class QQuickBasePositioner;
class QQuickFlickable;
class QQuickText;
class QQuickAbstractButton;
class QQuickWindow;

namespace QSP {

/// Root of the settings screen: the title bar, the left menu with its page buttons and the bottom button
/// (Reboot, or Exit under the panel's runtime), and the scrollable column that shows the current page's
/// cards. Cards are made on first use and kept.
class AppRootItem : public QQuickRectangle
{
    Q_OBJECT

public:
    /// Pages, in menu order.
    enum MenuIndex {
        MI_General = 0,
        MI_Network = 1,
        MI_Language = 2,
        MI_Version = 3,
        MI_Reboot = 4,
        MI_Exit = 5,
        MI_Wifi = 6,
        MI_None = 7,
    };

    /// Cards, each made from its own QML document.
    enum Cards {
        Card_Brightness = 0,
        Card_Time = 1,
        Card_Buzzer = 2,
        Card_Network = 3,
        Card_NIC = 4,
        Card_DNS = 5,
        Card_Version = 6,
        Card_Language = 7,
        Card_Wifi = 8,
    };

    explicit AppRootItem(QQuickItem *parent = nullptr);
    ~AppRootItem() override;

    /// The most recently made root item, or null.
    static AppRootItem *instance();
    /// What the root item knows of a card, handed over by the cards when the plug-in starts.
    struct CardEntry
    {
        const char *document = nullptr;    ///< the QML document that makes the card
        void (*registerTypes)() = nullptr; ///< registers the card's own QML types, before its first loading
        /// Connects a card just made to the root item and to the cards made before it.
        void (*wire)(AppRootItem *root, QQuickItem *card) = nullptr;
        void (*shown)(QQuickItem *card) = nullptr; ///< runs each time the card's page is shown
        /// Compiles the documents that the card makes its parts from, ahead of the card's first showing.
        void (*prepare)(QQmlEngine *engine) = nullptr;
    };
    /// The card catalogue, in the order of Cards; the root item keeps a copy.
    static void setCardCatalogue(const std::array<CardEntry, 9> &catalogue);

    /// Finds the parts of main.qml by their property names, lays out title and menu, and makes the first
    /// page's cards unless the menu fills the screen.
    void init(QQmlEngine *engine);
    /// Follows a language changed elsewhere, then shows the screen.
    void open();
    /// The engine the screen was built in; null before init() and once the host deleted it.
    QQmlEngine *engine() const;

    int titleHeight() const;
    MenuIndex currentPage() const { return m_currentPage; }
    bool shouldMenuFill() const;
    void setCurrentPage(MenuIndex page);
    template<MenuIndex N>
    void setCurrentPage()
    {
        setCurrentPage(N);
    }

    /// The card, or null when it has not been made (or could not be).
    QQuickItem *getCardItem(Cards card) const;
    /// The column that holds the cards.
    QQuickItem *getCardContainer() const { return m_cardsParent; }
    /// The title bar's return button, which a page may take over.
    QQuickAbstractButton *returnButton() const { return m_returnButton; }
    /// Shows or hides the adapter and DNS cards of the Network page (hidden while the VPN is selected).
    void setAdapterCardsShown(bool shown);

    void showCard(MenuIndex page, bool show);
    void showCard(Cards card, bool show);
    QQuickItem *addCard(QQmlComponent *component);
    template<Cards N>
    void addCard();

    template<MenuIndex N>
    void addMenuButton();
    QQuickItem *createMenuButton(QQuickItem *parent);
    void addSeparatorLine();
    void highlightMenuButton(MenuIndex page, bool on);
    void adjustTitle();
    void adjustMenu();
    void addReturnButton();
    /// Looks up the application's font at each of @p pixelSizes now and keeps it for as long as the screen
    /// lives: a font's first use asks the system's font configuration, which is slow. For the idle time
    /// before a page is first shown.
    void preloadFonts(std::initializer_list<int> pixelSizes);

Q_SIGNALS:
    void currentPageChanged(QSP::AppRootItem::MenuIndex newPage, QSP::AppRootItem::MenuIndex oldPage);
    void opened();
    /// close() has begun: whatever belongs to the screen outside its items (the keyboard) ends now.
    void closing();

public Q_SLOTS:
    /// Leaves the screen: ends every edit without writing it, closes popups and the keyboard, then goes back
    /// to the General page (or to the menu where it fills the screen), hidden.
    void close();

private Q_SLOTS:
    void changePage(QSP::AppRootItem::MenuIndex newPage, QSP::AppRootItem::MenuIndex oldPage);
    void showMenu();
    void hideMenu();
    void onWindowAvailable(QQuickWindow *window);

private:
    /// Whether @p item belongs to the screen: the root, an item below it, or an item of one of its popups.
    bool holds(const QQuickItem *item) const;
    /// Ends whatever the user was doing: an edit is cancelled as Escape cancels it, popups and the keyboard
    /// close, and the screen's items give up the focus.
    void endInteraction();
    void addCard(Cards card);
    /// The compiled document of @p card (compiled on first need, with the documents of its parts).
    QQmlComponent *cardComponent(Cards card);
    /// Starts compiling, after the next frame, the documents of the cards not made yet.
    void prepareAfterNextFrame();
    /// Compiles the next card's documents; one card a turn of the event loop while the screen is shown.
    void prepareNextCard();
    void layoutTitleText();
    void layoutMenuWidth();
    qreal menuButtonMargin() const;

    QQuickItem *m_titleBar = nullptr;
    QQuickText *m_titleText = nullptr;
    QQuickText *m_settingsText = nullptr;
    QQuickAbstractButton *m_returnButton = nullptr;
    QQuickItem *m_bottomContainer = nullptr;
    QQuickFlickable *m_cardPool = nullptr;
    QQuickRectangle *m_menuBar = nullptr;
    QQuickBasePositioner *m_menuColumn = nullptr;
    std::array<QQuickAbstractButton *, 6> m_menuButtons{};
    MenuIndex m_currentPage = MI_None;
    QQuickItem *m_cardsParent = nullptr;
    std::array<QQuickItem *, 9> m_cards{};
    std::array<QPointer<QQmlComponent>, 9> m_cardComponents{}; ///< owned by the engine
    QTimer m_prepareTimer;
    QVector<QFont> m_preloadedFonts;
    bool m_adapterCardsShown = true;
    QMetaObject::Connection m_windowConnection;
    QPointer<QQmlEngine> m_engine;
};

/// The translated title of a page; empty for MI_None and unknown values.
QString getMenuTitleRuntime(AppRootItem::MenuIndex page);

} // namespace QSP

Q_DECLARE_METATYPE(QSP::AppRootItem::MenuIndex)
