#include "controls/Dialog.h"

#include "controls/BeepButton.h"
#include "shell/AppRootItem.h"
#include "shell/GlobalInfo.h"
#include "shell/IconProvider.h"
#include "shell/Palette.h"
#include "shell/QmlTypes.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

const QColor FRAME_BORDER(Palette::Border);
const QColor TITLE_COLOR(Palette::MutedText);

// Landscape sizes are those of the 1920 pixels wide design, scaled to the screen.
constexpr qreal DESIGN_WIDTH = 1920;

QQuickAnchors *anchorsOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->anchors();
}

} // namespace

Dialog::Dialog(QQuickItem *parent)
    : QQuickPopup(parent)
{
    const GlobalInfo &info = GlobalInfo::instance();
    setZ(info.rootPopupZ());

    const bool portrait = info.isScreenPortrait();
    // A screen width nobody has set yet (a plain window) counts as the design's own width.
    const int screenWidth = info.screenSize().width();
    const qreal scale = screenWidth > 0 ? screenWidth / DESIGN_WIDTH : 1.0;
    m_titleBarHeight = portrait ? 36 : scale * 68;

    QQuickItem *content = contentItem();

    auto *background = new QQuickRectangle(content);
    background->setRadius(portrait ? 8 : scale * 15);
    background->border()->setWidth(1);
    background->border()->setColor(FRAME_BORDER);
    background->setZ(-1);
    setBackground(background);

    m_titleBar = new QQuickItem(content);
    m_titleBar->setHeight(m_titleBarHeight);

    m_titleText = new QQuickText(m_titleBar);
    m_titleText->setTextFormat(QQuickText::PlainText);
    m_titleText->setColor(TITLE_COLOR);
    QQuickAnchors *titleAnchors = anchorsOf(m_titleText);
    titleAnchors->setVerticalCenter(QQuickItemPrivate::get(m_titleBar)->verticalCenter());
    titleAnchors->setLeft(QQuickItemPrivate::get(m_titleBar)->left());
    titleAnchors->setLeftMargin(m_titleBarHeight * 0.331);

    m_separator = new QQuickRectangle(content);
    m_separator->setY(m_titleBarHeight);
    m_separator->setHeight(1);
    m_separator->setColor(FRAME_BORDER);

    connect(content, &QQuickItem::widthChanged, this, &Dialog::layout);

    // A dialog never outlives the visibility of the settings screen.
    if (AppRootItem *root = AppRootItem::instance()) {
        connect(root, &QQuickItem::visibleChanged, this, [this, root] {
            if (!root->isVisible())
                close();
        });
    }
}

Dialog::~Dialog()
{
    // The body goes with the popup's items, after this object: it must not report back.
    disconnect(m_bodyDestroyed);
}

QString Dialog::title() const
{
    return m_titleText->text();
}

void Dialog::setTitle(const QString &title)
{
    if (title == m_titleText->text())
        return;
    applyTitleFont();
    m_titleText->setText(title);
    Q_EMIT titleChanged();
}

void Dialog::setEnableCloseButton(bool enable)
{
    if (enable == m_enableCloseButton)
        return;
    if (enable && !m_closeButton)
        addCloseButton();
    if (m_closeButton)
        m_closeButton->setVisible(enable);
    m_enableCloseButton = enable;
    Q_EMIT enableCloseButtonChanged();
}

void Dialog::setBodyItem(QQuickItem *item)
{
    if (item == m_bodyItem)
        return;
    QQuickItem *content = contentItem();
    if (m_bodyItem) {
        // The previous body leaves the frame but stays owned by the dialog, so nothing is lost.
        disconnect(m_bodyDestroyed);
        if (m_bodyItem->parentItem() == content)
            m_bodyItem->setParentItem(nullptr);
    }
    m_bodyItem = item;
    if (item) {
        item->setParent(content);
        item->setParentItem(content);
        item->setX(1);
        item->setY(m_separator->y() + 1);
        item->setWidth(content->width() - 2);
        item->setHeight(content->height() - m_titleBarHeight - 1);
        m_bodyDestroyed = connect(item, &QObject::destroyed, this, &Dialog::bodyItemChanged);
    }
    Q_EMIT bodyItemChanged();
}

void Dialog::addCloseButton()
{
    m_closeButton = new BeepButton(contentItem());
    m_closeButton->setParentItem(m_titleBar);
    m_closeButton->setSize(QSizeF(m_titleBarHeight, m_titleBarHeight));
    anchorsOf(m_closeButton)->setRight(QQuickItemPrivate::get(m_titleBar)->right());

    auto *icon = new QQuickImage(m_closeButton);
    IconProvider::setSource(icon, QUrl(QStringLiteral("image://qspicon/close")));
    const int side = int(m_titleBarHeight * 0.551);
    icon->setSourceSize(QSize(side, side));
    anchorsOf(icon)->setCenterIn(m_closeButton);

    // Connected after the button's own handler: the click sounds and the keyboard goes away first.
    connect(m_closeButton, &QQuickAbstractButton::clicked, this, &QQuickPopup::close);
}

void Dialog::layout()
{
    QQuickItem *content = contentItem();
    const int width = int(content->width());
    m_titleBar->setWidth(width - 2);
    m_separator->setWidth(width);
    anchorsOf(m_titleText)->setLeftMargin(m_titleBarHeight * 0.331);
    if (!m_titleText->text().isEmpty())
        applyTitleFont();
    // A resize leaves a margin of nine units under the body, where setBodyItem() lets it reach the frame's
    // bottom edge; the cards lay out their bodies for both.
    if (m_bodyItem) {
        m_bodyItem->setWidth(width - 2);
        m_bodyItem->setHeight(content->height() - m_titleBarHeight - 10);
    }
}

void Dialog::applyTitleFont()
{
    QFont font = QGuiApplication::font();
    font.setPixelSize(qMax(1, int(m_titleBarHeight * 0.5)));
    m_titleText->setFont(font);
}

void Dialog::registerType()
{
    registerQmlType<Dialog>("Dialog");
}

} // namespace QSP
