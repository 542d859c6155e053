#include "shell/AppRootItem.h"

#include "shell/ComponentCache.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "shell/IconProvider.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"
#include "systemset/SystemSet.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMetaMethod>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQml/private/qqmlcontext_p.h>
#include <QtQml/private/qqmldata_p.h>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickflickable_p.h>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickpositioners_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtQuickTemplates2/private/qquickpopup_p.h>

#include <algorithm>
#include <memory>

namespace QSP {

namespace {

AppRootItem *g_root = nullptr;

/// Menu icons per page, normal and highlighted.
const char *const g_buttonsInfo[7][2] = {
    {"image://qspicon/newsetting", "image://qspicon/newsetting"},
    {"image://qspicon/newnetwork", "image://qspicon/newnetwork"},
    {"image://qspicon/newlanguage", "image://qspicon/newlanguage"},
    {"image://qspicon/newversion", "image://qspicon/newversion"},
    {"image://qspicon/newrestart", "image://qspicon/newrestart"},
    {"image://qspicon/newexit", "image://qspicon/newexit"},
    {"", ""},
};

std::array<AppRootItem::CardEntry, 9> g_catalogue{};

QQuickAnchors *anchorsOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->anchors();
}

QQuickAnchorLine anchorLine(QQuickItem *item, QQuickAnchors::Anchor line)
{
    QQuickItemPrivate *d = QQuickItemPrivate::get(item);
    switch (line) {
    case QQuickAnchors::LeftAnchor:
        return d->left();
    case QQuickAnchors::RightAnchor:
        return d->right();
    default:
        return d->verticalCenter();
    }
}

QString translated(const char *source)
{
    return QCoreApplication::translate("QSP::AppRootItem", source);
}

} // namespace

QString getMenuTitleRuntime(AppRootItem::MenuIndex page)
{
    static const char *const titles[7] = {
        QT_TRANSLATE_NOOP("QSP::AppRootItem", "General"),  QT_TRANSLATE_NOOP("QSP::AppRootItem", "Network"),
        QT_TRANSLATE_NOOP("QSP::AppRootItem", "Language"), QT_TRANSLATE_NOOP("QSP::AppRootItem", "Version"),
        QT_TRANSLATE_NOOP("QSP::AppRootItem", "Reboot"),   QT_TRANSLATE_NOOP("QSP::AppRootItem", "Exit"),
        QT_TRANSLATE_NOOP("QSP::AppRootItem", "Wi-Fi"),
    };
    if (page < AppRootItem::MI_General || page > AppRootItem::MI_Wifi)
        return QString();
    return translated(titles[page]);
}

AppRootItem::AppRootItem(QQuickItem *parent)
    : QQuickRectangle(parent)
{
    g_root = this;
    setColor(QColor::fromRgba(Palette::Background));
    connect(this, &AppRootItem::currentPageChanged, this, &AppRootItem::changePage);
    connect(this, &QQuickItem::visibleChanged, this, [this] {
        if (isVisible())
            Q_EMIT opened();
    });
    m_prepareTimer.setSingleShot(true);
    m_prepareTimer.setInterval(0);
    connect(&m_prepareTimer, &QTimer::timeout, this, &AppRootItem::prepareNextCard);
}

AppRootItem::~AppRootItem()
{
    if (g_root == this)
        g_root = nullptr;
    // ~QQuickItem, which runs next, unparents the items below and so emits their signals. By then this
    // object is no longer a root item: nothing may reach its slots, and the items' bindings, which would
    // only warn about their lost parents, are not evaluated again.
    QList<QObject *> below = findChildren<QObject *>();
    for (QList<QQuickItem *> items = childItems(); !items.isEmpty();) {
        QQuickItem *item = items.takeLast();
        below << item;
        items << item->childItems();
    }
    disconnect(this, nullptr, this, nullptr);
    disconnect(&GlobalInfo::instance(), nullptr, this, nullptr);
    for (QObject *object : qAsConst(below))
        disconnect(object, nullptr, this, nullptr);
    // The documents' contexts end now, as they would with the engine, so that no binding runs again.
    QQmlContextData *shared = m_engine ? QQmlContextData::get(m_engine->rootContext()) : nullptr;
    below << this;
    for (QObject *object : qAsConst(below)) {
        QQmlData *data = QQmlData::get(object);
        for (QQmlContextData *context :
             {data ? data->context : nullptr, data ? data->outerContext : nullptr}) {
            if (context && context != shared && context->isValid())
                context->invalidate();
        }
    }
}

AppRootItem *AppRootItem::instance()
{
    return g_root;
}

void AppRootItem::setCardCatalogue(const std::array<CardEntry, 9> &catalogue)
{
    g_catalogue = catalogue;
}

void AppRootItem::init(QQmlEngine *engine)
{
    GlobalInfo &info = GlobalInfo::instance();
    info.setQmlEngine(engine);
    m_engine = engine;

    m_titleBar = documentPart<QQuickItem>(this, "titleBar");
    m_titleText = documentPart<QQuickText>(this, "titleText");
    m_menuBar = documentPart<QQuickRectangle>(this, "menuBar");
    m_cardsParent = documentPart<QQuickItem>(this, "cardsParent");
    m_cardPool = documentPart<QQuickFlickable>(this, "cardPool");
    m_settingsText = documentPart<QQuickText>(this, "settingsText");
    m_bottomContainer = documentPart<QQuickItem>(m_menuBar, "bottomContainer");

    if (m_cardPool)
        m_cardPool->setPressDelay(200);
    setMultilingualText(m_settingsText, [] { return translated("Settings"); });
    connect(&info, &GlobalInfo::localeChanged, this, [this] {
        if (m_titleText)
            m_titleText->setText(getMenuTitleRuntime(m_currentPage));
    });

    if (window())
        info.initializeNativeOrientation(window());
    else
        m_windowConnection = connect(this, &QQuickItem::windowChanged, this, &AppRootItem::onWindowAvailable);

    adjustTitle();
    adjustMenu();

    if (!shouldMenuFill()) {
        addCard<Card_Brightness>();
        addCard<Card_Time>();
        addCard<Card_Buzzer>();
    }
}

void AppRootItem::open()
{
    GlobalInfo::instance().checkExternalLanguageChange();
    setVisible(true);
    prepareAfterNextFrame();
}

void AppRootItem::prepareAfterNextFrame()
{
    QQuickWindow *shownIn = window();
    if (!shownIn || m_prepareTimer.isActive())
        return;
    // Once the screen is on show, the idle time until the user's first tap compiles the documents of the
    // cards still to make, so that a page's first showing costs little more than a later one. The cards
    // themselves are still made when their page is first shown.
    auto once = std::make_shared<QMetaObject::Connection>();
    *once = connect(
        shownIn, &QQuickWindow::frameSwapped, this,
        [this, once] {
            disconnect(*once);
            m_prepareTimer.start();
        },
        Qt::QueuedConnection);
}

void AppRootItem::prepareNextCard()
{
    if (!isVisible())
        return; // resumed by the next opening
    static constexpr std::array<Cards, 9> order{Card_Network,    Card_NIC,     Card_DNS,
                                                Card_Language,   Card_Version, Card_Wifi,
                                                Card_Brightness, Card_Time,    Card_Buzzer};
    const auto next = std::find_if(order.begin(), order.end(),
                                   [this](Cards card) { return !m_cards[card] && !m_cardComponents[card]; });
    if (next == order.end())
        return;
    cardComponent(*next);
    m_prepareTimer.start();
}

void AppRootItem::preloadFonts(std::initializer_list<int> pixelSizes)
{
    for (const int pixelSize : pixelSizes) {
        if (pixelSize <= 0 ||
            std::any_of(m_preloadedFonts.cbegin(), m_preloadedFonts.cend(),
                        [pixelSize](const QFont &font) { return font.pixelSize() == pixelSize; }))
            continue;
        QFont font;
        font.setPixelSize(pixelSize);
        QFontMetricsF(font).height(); // loads the font's engine, which the font then holds
        m_preloadedFonts.append(font);
    }
}

QQmlComponent *AppRootItem::cardComponent(Cards card)
{
    QQmlEngine *engine = GlobalInfo::instance().qmlEngine();
    const CardEntry &entry = g_catalogue[card];
    if (!engine || !entry.document)
        return nullptr;
    if (!m_cardComponents[card]) {
        if (entry.registerTypes)
            entry.registerTypes();
        m_cardComponents[card] = new QQmlComponent(engine, QUrl(QString::fromLatin1(entry.document)), engine);
        if (entry.prepare)
            entry.prepare(engine);
    }
    return m_cardComponents[card];
}

QQmlEngine *AppRootItem::engine() const
{
    return m_engine;
}

int AppRootItem::titleHeight() const
{
    return m_titleBar ? int(m_titleBar->height()) : 0;
}

bool AppRootItem::shouldMenuFill() const
{
    return GlobalInfo::instance().isMenuFill();
}

void AppRootItem::setCurrentPage(MenuIndex page)
{
    if (page == m_currentPage)
        return;
    const MenuIndex old = m_currentPage;
    m_currentPage = page;
    Q_EMIT currentPageChanged(page, old);
    if (shouldMenuFill() && m_menuBar)
        m_menuBar->setVisible(false);
}

QQuickItem *AppRootItem::getCardItem(Cards card) const
{
    return card >= Card_Brightness && card <= Card_Wifi ? m_cards[card] : nullptr;
}

void AppRootItem::changePage(MenuIndex newPage, MenuIndex oldPage)
{
    GlobalInfo::instance().checkExternalLanguageChange();
    highlightMenuButton(oldPage, false);
    highlightMenuButton(newPage, true);
    showCard(oldPage, false);
    showCard(newPage, true);
    if (m_titleText)
        m_titleText->setText(getMenuTitleRuntime(newPage));
}

void AppRootItem::showCard(MenuIndex page, bool show)
{
    switch (page) {
    case MI_General:
        showCard(Card_Brightness, show);
        showCard(Card_Time, show);
        showCard(Card_Buzzer, show);
        break;
    case MI_Network:
        showCard(Card_Network, show);
        showCard(Card_NIC, show && m_adapterCardsShown);
        showCard(Card_DNS, show && m_adapterCardsShown);
        break;
    case MI_Language:
        showCard(Card_Language, show);
        break;
    case MI_Version:
        showCard(Card_Version, show);
        break;
    case MI_Wifi:
        showCard(Card_Wifi, show);
        break;
    default:
        break;
    }
}

void AppRootItem::showCard(Cards card, bool show)
{
    if (!m_cards[card]) {
        if (!show)
            return; // nothing to hide: cards are made when first shown
        addCard(card);
        if (m_cards[card] && g_catalogue[card].wire)
            g_catalogue[card].wire(this, m_cards[card]);
    }
    if (!m_cards[card])
        return;
    m_cards[card]->setVisible(show);
    if (show && g_catalogue[card].shown)
        g_catalogue[card].shown(m_cards[card]);
}

void AppRootItem::setAdapterCardsShown(bool shown)
{
    m_adapterCardsShown = shown;
    if (m_currentPage == MI_Network) {
        showCard(Card_NIC, shown);
        showCard(Card_DNS, shown);
    }
}

template<AppRootItem::Cards N>
void AppRootItem::addCard()
{
    addCard(N);
}

template void AppRootItem::addCard<AppRootItem::Card_Brightness>();
template void AppRootItem::addCard<AppRootItem::Card_Time>();
template void AppRootItem::addCard<AppRootItem::Card_Buzzer>();
template void AppRootItem::addCard<AppRootItem::Card_Network>();
template void AppRootItem::addCard<AppRootItem::Card_NIC>();
template void AppRootItem::addCard<AppRootItem::Card_DNS>();
template void AppRootItem::addCard<AppRootItem::Card_Version>();
template void AppRootItem::addCard<AppRootItem::Card_Language>();
template void AppRootItem::addCard<AppRootItem::Card_Wifi>();

void AppRootItem::addCard(Cards card)
{
    // A card whose document failed is not tried again: one warning, and the page simply lacks it.
    static std::array<bool, 9> failed{};
    if (m_cards[card] || failed[card])
        return;
    QQmlComponent *component = cardComponent(card);
    if (!component)
        return;
    if (!component->isReady()) {
        qWarning("%s", qPrintable(component->errorString()));
        failed[card] = true;
        return;
    }
    m_cards[card] = addCard(component);
}

QQuickItem *AppRootItem::addCard(QQmlComponent *component)
{
    QQmlEngine *engine = GlobalInfo::instance().qmlEngine();
    QObject *object = component->beginCreate(engine->rootContext());
    auto *card = qobject_cast<QQuickItem *>(object);
    if (!card) {
        if (object)
            component->completeCreate();
        delete object;
        return nullptr;
    }
    card->setParentItem(m_cardsParent);
    card->setParent(m_cardsParent);
    if (m_cardsParent) {
        card->setWidth(m_cardsParent->width());
        connect(m_cardsParent, &QQuickItem::widthChanged, card,
                [card, column = m_cardsParent] { card->setWidth(column->width()); });
    }
    component->completeCreate();
    return card;
}

template<AppRootItem::MenuIndex N>
void AppRootItem::addMenuButton()
{
    static_assert(N <= MI_Exit, "only pages with a menu button");
    QQuickItem *parent = N == MI_Reboot || N == MI_Exit ? m_bottomContainer : m_menuColumn;
    auto *button = qobject_cast<QQuickAbstractButton *>(createMenuButton(parent));
    if (!button)
        return;
    m_menuButtons[N] = button;
    button->setText(getMenuTitleRuntime(N));
    connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, button,
            [button] { button->setText(getMenuTitleRuntime(N)); });
    button->setProperty("imgUrl", QUrl(QString::fromLatin1(g_buttonsInfo[N][0])));

    if constexpr (N == MI_Reboot) {
        anchorsOf(button)->setVerticalCenter(anchorLine(parent, QQuickAnchors::VCenterAnchor));
        connect(button, &QQuickAbstractButton::clicked, this, [this] {
            if (m_currentPage != MI_Reboot)
                highlightMenuButton(m_currentPage, false);
            highlightMenuButton(MI_Reboot, true);
            MeyerSingleton<HMI::SystemSet>::instance().reboot();
        });
    } else if constexpr (N == MI_Exit) {
        anchorsOf(button)->setVerticalCenter(anchorLine(parent, QQuickAnchors::VCenterAnchor));
        connect(button, &QQuickAbstractButton::clicked, this, [this] {
            highlightMenuButton(MI_Exit, true);
            close();
        });
    } else {
        connect(button, &QQuickAbstractButton::clicked, this, &AppRootItem::setCurrentPage<N>);
        if (shouldMenuFill()) {
            connect(button, &QQuickAbstractButton::clicked, this, &AppRootItem::hideMenu);
            auto *arrow = new QQuickImage(button);
            arrow->setSourceSize(QSize(64, 64));
            IconProvider::setSource(arrow, QUrl(QStringLiteral("image://qspicon/rightArrow0@2x")));
            arrow->setFillMode(QQuickImage::PreserveAspectFit);
            arrow->setSize(QSizeF(button->height() * 0.4, button->height() * 0.4));
            anchorsOf(arrow)->setVerticalCenter(anchorLine(button, QQuickAnchors::VCenterAnchor));
            anchorsOf(arrow)->setRight(anchorLine(button, QQuickAnchors::RightAnchor));
            anchorsOf(arrow)->setRightMargin(32);
        }
    }
}

qreal AppRootItem::menuButtonMargin() const
{
    const qreal menuWidth = m_menuBar ? m_menuBar->width() : 0;
    return menuWidth * (shouldMenuFill() ? 0.025 : 2.0 / 35);
}

QQuickItem *AppRootItem::createMenuButton(QQuickItem *parent)
{
    static ComponentCache document(QUrl(QStringLiteral("qrc:/setting/flatui/MenuButton.qml")));
    QQmlEngine *engine = GlobalInfo::instance().qmlEngine();
    QQmlComponent *pComp = parent ? document.component(engine) : nullptr;
    if (!pComp)
        return nullptr;

    auto *item = qobject_cast<QQuickItem *>(pComp->beginCreate(engine->rootContext()));
    if (!item)
        return nullptr;
    item->setParentItem(parent);
    item->setParent(parent);
    const qreal menuWidth = m_menuBar ? m_menuBar->width() : 0;
    item->setHeight(menuWidth * (shouldMenuFill() ? 2.0 / 15 : 9.0 / 35));
    const qreal margin = menuButtonMargin();
    QQuickAnchors *anchors = anchorsOf(item);
    anchors->setLeftMargin(margin);
    anchors->setRightMargin(margin);
    anchors->setLeft(anchorLine(parent, QQuickAnchors::LeftAnchor));
    anchors->setRight(anchorLine(parent, QQuickAnchors::RightAnchor));
    pComp->completeCreate();
    return item;
}

void AppRootItem::addSeparatorLine()
{
    if (!m_menuColumn)
        return;
    auto *line = new QQuickRectangle(m_menuColumn);
    line->setHeight(1);
    line->setColor(QColor::fromRgba(Palette::Background));
    const qreal margin = menuButtonMargin();
    line->setX(margin);
    line->setWidth((m_menuBar ? m_menuBar->width() : 0) - 2 * margin);
}

void AppRootItem::highlightMenuButton(MenuIndex page, bool on)
{
    if (page < MI_General || page > MI_Wifi)
        return;
    const int slot = page == MI_Wifi ? MI_Network : page;
    QQuickAbstractButton *button = m_menuButtons[slot];
    auto *background = button ? qobject_cast<QQuickRectangle *>(button->background()) : nullptr;
    if (!background)
        return;
    background->border()->setWidth(0);
    const bool portraitFill = shouldMenuFill() && GlobalInfo::instance().isScreenPortrait();
    if (portraitFill)
        background->setColor(Qt::white);
    else
        background->setColor(on ? QColor::fromRgba(Palette::Highlight) : QColor(Qt::white));
    button->setProperty("imgUrl", QUrl(QString::fromLatin1(g_buttonsInfo[slot][on ? 1 : 0])));
}

void AppRootItem::adjustTitle()
{
    if (!m_titleBar)
        return;
    QQuickItem *parent = m_titleBar->parentItem();
    if (GlobalInfo::instance().isScreenPortrait()) {
        m_titleBar->setHeight(width() < 600 ? 56 : 72);
    } else if (parent) {
        m_titleBar->setHeight(0.07 * parent->width());
        connect(parent, &QQuickItem::widthChanged, m_titleBar,
                [bar = m_titleBar, parent] { bar->setHeight(0.07 * parent->width()); });
    }

    if (!m_titleText)
        return;
    connect(m_titleText, &QQuickItem::widthChanged, this, &AppRootItem::layoutTitleText);
    if (parent)
        connect(parent, &QQuickItem::widthChanged, this, &AppRootItem::layoutTitleText);
    if (m_menuBar) {
        connect(m_menuBar, &QQuickItem::widthChanged, this, &AppRootItem::layoutTitleText);
        connect(m_menuBar, &QQuickItem::visibleChanged, this, &AppRootItem::layoutTitleText);
    }
    layoutTitleText();
}

void AppRootItem::layoutTitleText()
{
    QQuickItem *parent = m_titleBar ? m_titleBar->parentItem() : nullptr;
    if (!m_titleText || !parent)
        return;
    const qreal m = m_menuBar && m_menuBar->isVisible() ? m_menuBar->width() : 0;
    m_titleText->setX(m + (parent->width() - m - m_titleText->width()) / 2);
}

void AppRootItem::layoutMenuWidth()
{
    if (!m_menuBar)
        return;
    const GlobalInfo &info = GlobalInfo::instance();
    const bool portrait = info.isScreenPortrait();
    const bool fill = shouldMenuFill();
    m_menuBar->setColor(portrait && fill ? QColor::fromRgba(Palette::Background) : QColor(Qt::white));
    const qreal f = portrait ? (fill ? 1.0 : 0.2625) : 0.205078125;
    m_menuBar->setWidth(width() * f);
}

void AppRootItem::adjustMenu()
{
    layoutMenuWidth();
    connect(this, &QQuickItem::widthChanged, this, &AppRootItem::layoutMenuWidth);
    m_menuColumn = documentPart<QQuickBasePositioner>(m_menuBar, "column");

    addMenuButton<MI_General>();
    addMenuButton<MI_Network>();
    addMenuButton<MI_Language>();
    addMenuButton<MI_Version>();
    addSeparatorLine();
    if (GlobalInfo::instance().isStartedFromTavrex())
        addMenuButton<MI_Exit>();
    else
        addMenuButton<MI_Reboot>();

    if (!shouldMenuFill()) {
        m_currentPage = MI_General;
        highlightMenuButton(MI_General, true);
        if (m_titleText)
            m_titleText->setText(getMenuTitleRuntime(MI_General));
    }
}

void AppRootItem::showMenu()
{
    if (m_menuBar)
        m_menuBar->setVisible(true);
    if (m_returnButton)
        m_returnButton->setVisible(false);
    if (shouldMenuFill()) {
        if (m_cardPool)
            m_cardPool->setVisible(false);
        if (m_titleText)
            m_titleText->setText(QString());
    }
}

void AppRootItem::hideMenu()
{
    if (m_menuBar)
        m_menuBar->setVisible(false);
    if (!m_returnButton)
        addReturnButton();
    if (m_returnButton)
        m_returnButton->setVisible(true);
    if (shouldMenuFill()) {
        if (m_cardPool)
            m_cardPool->setVisible(true);
        if (m_titleText)
            m_titleText->setText(getMenuTitleRuntime(m_currentPage));
    }
}

void AppRootItem::addReturnButton()
{
    if (!m_titleBar)
        return;
    static ComponentCache document(QUrl(QStringLiteral("qrc:/setting/flatui/ReturnButton.qml")));
    m_returnButton = qobject_cast<QQuickAbstractButton *>(document.createItem(
        GlobalInfo::instance().qmlEngine(), m_titleBar, QQuickAbstractButton::staticMetaObject));
    if (!m_returnButton)
        return;
    const qreal side = m_titleBar->height();
    m_returnButton->setSize(QSizeF(side, side));
    connect(m_returnButton, &QQuickAbstractButton::clicked, this, &AppRootItem::showMenu);
}

void AppRootItem::onWindowAvailable(QQuickWindow *window)
{
    if (!window)
        return;
    GlobalInfo::instance().initializeNativeOrientation(window);
    disconnect(m_windowConnection);
}

bool AppRootItem::holds(const QQuickItem *item) const
{
    if (!item)
        return false;
    if (item == this || isAncestorOf(item))
        return true;
    // Popups live in the window's overlay, away from the items that own them.
    const auto popups = findChildren<QQuickPopup *>();
    return std::any_of(popups.begin(), popups.end(), [item](const QQuickPopup *popup) {
        return popup->popupItem() == item || popup->popupItem()->isAncestorOf(item);
    });
}

void AppRootItem::endInteraction()
{
    QQuickWindow *window = this->window();
    // An edit under way ends as Escape ends it: the field takes back what it held and nothing is written.
    if (QQuickItem *focused = window ? window->activeFocusItem() : nullptr; holds(focused)) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(focused, &press);
        QCoreApplication::sendEvent(focused, &release);
    }
    const auto popups = findChildren<QQuickPopup *>();
    for (QQuickPopup *popup : popups) {
        if (popup->isVisible())
            popup->close();
    }
    Q_EMIT closing();
    // Nothing of the hidden screen keeps the focus, so that keys typed afterwards reach none of its items.
    for (int scope = 0; window && scope < 16; ++scope) {
        QQuickItem *focused = window->activeFocusItem();
        if (!holds(focused))
            break;
        focused->setFocus(false);
        if (window->activeFocusItem() == focused) { // not given up within its scope: leave the scene's focus
            window->contentItem()->forceActiveFocus();
            break;
        }
    }
}

void AppRootItem::close()
{
    endInteraction();
    const bool tavrex = GlobalInfo::instance().isStartedFromTavrex();
    highlightMenuButton(tavrex ? MI_Exit : MI_Reboot, false);
    if (!shouldMenuFill()) {
        setCurrentPage(MI_General);
        setVisible(false);
        return;
    }
    if (m_currentPage <= MI_Wifi) {
        highlightMenuButton(m_currentPage, false);
        if (m_currentPage != MI_General)
            showCard(m_currentPage, false);
    }
    for (MenuIndex page : {MI_General, MI_Network, MI_Version, MI_Language, MI_Wifi})
        showCard(page, false);
    m_currentPage = MI_None;
    showMenu();
    setVisible(false);
}

} // namespace QSP
