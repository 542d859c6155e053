#include "AppRootItem.h"
#include "BeepButton.h"
#include "Dialog.h"
#include "GlobalInfo.h"
#include "PanelSimulator.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

const QColor FRAME_BORDER(QLatin1String("#E6E7E9"));
const QColor TITLE_COLOR(QLatin1String("#86909C"));

int beepCount()
{
    const auto log = HMI::PanelSimulator::callLog();
    return int(std::count(log.begin(), log.end(), std::string("beep 1")));
}

/// Clicks the centre of @p button and expects exactly one clicked() from it.
void clickButton(QQuickItem *button)
{
    QVERIFY(button);
    QVERIFY(button->window());
    QSignalSpy clicked(button, SIGNAL(clicked()));
    QVERIFY(clicked.isValid());
    const QPointF centre = button->mapToScene(QPointF(button->width() / 2, button->height() / 2));
    QTest::mouseClick(button->window(), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    QCOMPARE(clicked.count(), 1);
}

/// The dialog's parts, found the way a reader of the scene would: the title text inside the title bar,
/// the one-unit rectangle below it, the close button in the title bar.
struct Parts
{
    QQuickText *title = nullptr;
    QQuickItem *titleBar = nullptr;
    QQuickRectangle *separator = nullptr;
    QQuickRectangle *background = nullptr;
    QSP::BeepButton *closeButton = nullptr;
    QQuickImage *closeIcon = nullptr;
};

Parts partsOf(QSP::Dialog *dialog)
{
    Parts parts;
    parts.title = dialog->findChild<QQuickText *>();
    parts.titleBar = parts.title ? parts.title->parentItem() : nullptr;
    const auto children = dialog->contentItem()->childItems();
    for (QQuickItem *child : children) {
        auto *rectangle = qobject_cast<QQuickRectangle *>(child);
        if (rectangle && rectangle->height() == 1)
            parts.separator = rectangle;
    }
    parts.background = qobject_cast<QQuickRectangle *>(dialog->background());
    parts.closeButton = dialog->findChild<QSP::BeepButton *>();
    parts.closeIcon = parts.closeButton ? parts.closeButton->findChild<QQuickImage *>() : nullptr;
    return parts;
}

/// Whether @p item itself is set visible, whatever its (possibly closed) popup is.
bool isShown(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->explicitVisible;
}

qreal leftMarginOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->anchors()->leftMargin();
}

} // namespace

class tst_Dialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void construction();
    void layout_data();
    void layout();
    void title_data();
    void title();
    void titleFontOnlyOnChange();
    void closeButtonToggles();
    void closeButtonClosesAndBeeps_data();
    void closeButtonClosesAndBeeps();
    void popupZ_data();
    void popupZ();
    void bodyItem();
    void closesWhenRootHides();
    void declaredInQml();

private:
    /// A shown 800 × 600 window to hold dialogs.
    QQuickWindow *showWindow();

    std::unique_ptr<QQuickWindow> m_window;
};

void tst_Dialog::init()
{
    QSP::GlobalInfo::instance().setScreenWidth(1920);
    QSP::GlobalInfo::instance().setScreenHeight(1080);
    QSP::BeepButton::setBuzzerOn(true);
    HMI::PanelSimulator::clearCallLog();
}

void tst_Dialog::cleanup()
{
    m_window.reset();
    QSP::GlobalInfo::instance().setRootPopupZ(20000);
    QSP::BeepButton::setBuzzerOn(true);
}

QQuickWindow *tst_Dialog::showWindow()
{
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(800, 600);
    m_window->show();
    if (!QTest::qWaitForWindowExposed(m_window.get()))
        return nullptr;
    return m_window.get();
}

void tst_Dialog::construction()
{
    QSP::Dialog dialog;
    const Parts parts = partsOf(&dialog);
    QVERIFY(parts.title && parts.titleBar && parts.separator && parts.background);
    QCOMPARE(parts.titleBar->parentItem(), dialog.contentItem());
    QCOMPARE(parts.title->text(), QString());
    QCOMPARE(parts.title->color(), TITLE_COLOR);
    QCOMPARE(parts.separator->color(), FRAME_BORDER);
    QCOMPARE(parts.background->color(), QColor(Qt::white));
    QCOMPARE(parts.background->border()->width(), 1.0);
    QCOMPARE(parts.background->border()->color(), FRAME_BORDER);
    QCOMPARE(parts.background->z(), -1.0);

    // Everything else about the popup is its user's to choose.
    QCOMPARE(dialog.isModal(), false);
    QCOMPARE(dialog.isOpened(), false);
    QCOMPARE(dialog.enableCloseButton(), false);
    QCOMPARE(parts.closeButton, nullptr); // made on first need only
    QCOMPARE(dialog.bodyItem(), nullptr);
}

void tst_Dialog::layout_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<int>("screenHeight");
    QTest::addColumn<qreal>("titleBarHeight");
    QTest::addColumn<int>("fontSize");
    QTest::addColumn<int>("iconSide");
    QTest::addColumn<qreal>("radius");

    QTest::newRow("landscape 1920") << 1920 << 1080 << 68.0 << 34 << 37 << 15.0;
    QTest::newRow("landscape 1280") << 1280 << 800 << 1280 / 1920.0 * 68 << 22 << 24 << 10.0;
    QTest::newRow("landscape 1024") << 1024 << 600 << 1024 / 1920.0 * 68 << 18 << 19 << 8.0;
    QTest::newRow("portrait 800") << 800 << 1280 << 36.0 << 18 << 19 << 8.0;
    QTest::newRow("portrait 480") << 480 << 800 << 36.0 << 18 << 19 << 8.0;
    QTest::newRow("screen not known yet") << -1 << -1 << 68.0 << 34 << 37 << 15.0;
}

void tst_Dialog::layout()
{
    QFETCH(int, screenWidth);
    QFETCH(int, screenHeight);
    QFETCH(qreal, titleBarHeight);
    QFETCH(int, fontSize);
    QFETCH(int, iconSide);
    QFETCH(qreal, radius);

    QSP::GlobalInfo::instance().setScreenWidth(screenWidth);
    QSP::GlobalInfo::instance().setScreenHeight(screenHeight);
    QQuickWindow *window = showWindow();
    QVERIFY(window);

    auto *dialog = new QSP::Dialog(window->contentItem());
    dialog->setEnableCloseButton(true);
    dialog->setWidth(400);
    dialog->setHeight(300);
    auto *body = new QQuickItem;
    dialog->setBodyItem(body);
    dialog->setTitle(QStringLiteral("Ping test"));
    const Parts parts = partsOf(dialog);
    QVERIFY(parts.title && parts.titleBar && parts.separator && parts.background && parts.closeButton &&
            parts.closeIcon);
    QCOMPARE(dialog->contentItem()->width(), 400.0);

    QCOMPARE(parts.background->radius(), radius);
    QCOMPARE(parts.titleBar->height(), titleBarHeight);
    QCOMPARE(parts.titleBar->width(), 398.0);
    QCOMPARE(parts.separator->y(), titleBarHeight);
    QCOMPARE(parts.separator->height(), 1.0);
    QCOMPARE(parts.separator->width(), 400.0);
    QCOMPARE(parts.title->font().pixelSize(), fontSize);
    QCOMPARE(parts.title->font().family(), QGuiApplication::font().family());
    QCOMPARE(leftMarginOf(parts.title), titleBarHeight * 0.331);
    QCOMPARE(parts.title->x(), titleBarHeight * 0.331);
    QVERIFY(qAbs(parts.title->y() + parts.title->height() / 2 - titleBarHeight / 2) <= 0.5);

    // Square close button at the right end of the title bar, its icon centred in it.
    QCOMPARE(parts.closeButton->parentItem(), parts.titleBar);
    QCOMPARE(parts.closeButton->size(), QSizeF(titleBarHeight, titleBarHeight));
    QCOMPARE(parts.closeButton->x() + parts.closeButton->width(), parts.titleBar->width());
    QCOMPARE(parts.closeIcon->source(), QUrl(QStringLiteral("qrc:/setting/icons/close.png")));
    QCOMPARE(parts.closeIcon->status(), QQuickImageBase::Ready);
    QCOMPARE(parts.closeIcon->sourceSize(), QSize(iconSide, iconSide));
    // (centring snaps to whole pixels)
    QVERIFY(qAbs(parts.closeIcon->x() + parts.closeIcon->width() / 2 - titleBarHeight / 2) <= 0.5);
    QVERIFY(qAbs(parts.closeIcon->y() + parts.closeIcon->height() / 2 - titleBarHeight / 2) <= 0.5);

    // Placed when set: one unit in, just below the separator, down to the frame's bottom.
    QCOMPARE(body->parentItem(), dialog->contentItem());
    QCOMPARE(body->parent(), dialog->contentItem());
    QCOMPARE(body->position(), QPointF(1, titleBarHeight + 1));
    QCOMPARE(body->size(), QSizeF(398, 300 - titleBarHeight - 1));

    // A new width lays the frame out again and leaves a margin under the body.
    dialog->setWidth(520.6);
    QCOMPARE(parts.titleBar->width(), 518.0);
    QCOMPARE(parts.separator->width(), 520.0);
    QCOMPARE(body->size(), QSizeF(518, 300 - titleBarHeight - 10));
    QCOMPARE(parts.closeButton->x() + parts.closeButton->width(), 518.0);

    // A new height alone does not.
    dialog->setHeight(360);
    QCOMPARE(body->size(), QSizeF(518, 300 - titleBarHeight - 10));
}

void tst_Dialog::title_data()
{
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<int>("notifications");
    QTest::addColumn<QString>("shown");

    QTest::newRow("once") << QStringList{QStringLiteral("Wi-Fi")} << 1 << QStringLiteral("Wi-Fi");
    QTest::newRow("same twice") << QStringList{QStringLiteral("Ping"), QStringLiteral("Ping")} << 1
                                << QStringLiteral("Ping");
    QTest::newRow("changed") << QStringList{QStringLiteral("Ping"), QStringLiteral("Result")} << 2
                             << QStringLiteral("Result");
    QTest::newRow("empty on a new dialog") << QStringList{QString()} << 0 << QString();
    QTest::newRow("cleared") << QStringList{QStringLiteral("Ping"), QString()} << 2 << QString();
    QTest::newRow("translated") << QStringList{QStringLiteral("密码")} << 1 << QStringLiteral("密码");
}

void tst_Dialog::title()
{
    QFETCH(QStringList, titles);
    QFETCH(int, notifications);
    QFETCH(QString, shown);

    QSP::Dialog dialog;
    QSignalSpy titleChanged(&dialog, &QSP::Dialog::titleChanged);
    QVERIFY(titleChanged.isValid());
    for (const QString &title : qAsConst(titles))
        dialog.setProperty("title", title);
    QCOMPARE(titleChanged.count(), notifications);
    QCOMPARE(dialog.title(), shown);
    QCOMPARE(partsOf(&dialog).title->text(), shown);
}

void tst_Dialog::titleFontOnlyOnChange()
{
    QSP::Dialog dialog;
    QQuickText *text = partsOf(&dialog).title;
    QVERIFY(text);
    dialog.setTitle(QStringLiteral("Password"));
    QCOMPARE(text->font().pixelSize(), 34);

    QFont other = text->font();
    other.setPixelSize(11);
    text->setFont(other);
    dialog.setTitle(QStringLiteral("Password"));
    QCOMPARE(text->font().pixelSize(), 11); // the same title changes nothing
    dialog.setTitle(QStringLiteral("Connect"));
    QCOMPARE(text->font().pixelSize(), 34);

    // A width change re-applies it while there is a title...
    text->setFont(other);
    dialog.setWidth(300);
    QCOMPARE(text->font().pixelSize(), 34);
    // ... and leaves the font alone while there is none.
    dialog.setTitle(QString());
    text->setFont(other);
    dialog.setWidth(320);
    QCOMPARE(text->font().pixelSize(), 11);
}

void tst_Dialog::closeButtonToggles()
{
    QSP::Dialog dialog;
    QSignalSpy changed(&dialog, &QSP::Dialog::enableCloseButtonChanged);
    QVERIFY(changed.isValid());

    dialog.setEnableCloseButton(false);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(dialog.findChildren<QSP::BeepButton *>().size(), 0);

    dialog.setEnableCloseButton(true);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(dialog.enableCloseButton(), true);
    QCOMPARE(dialog.findChildren<QSP::BeepButton *>().size(), 1);
    QSP::BeepButton *button = partsOf(&dialog).closeButton;
    QVERIFY(isShown(button));
    QCOMPARE(button->parent(), dialog.contentItem());

    dialog.setEnableCloseButton(true);
    QCOMPARE(changed.count(), 1);

    dialog.setEnableCloseButton(false);
    QCOMPARE(changed.count(), 2);
    QVERIFY(!isShown(button));

    dialog.setProperty("enableCloseButton", true);
    QCOMPARE(changed.count(), 3);
    QCOMPARE(dialog.findChildren<QSP::BeepButton *>().size(), 1); // made once, shown again
    QCOMPARE(partsOf(&dialog).closeButton, button);
    QVERIFY(isShown(button));
}

void tst_Dialog::closeButtonClosesAndBeeps_data()
{
    QTest::addColumn<bool>("buzzerOn");
    QTest::addColumn<bool>("modal");
    QTest::newRow("buzzer on") << true << false;
    QTest::newRow("buzzer off") << false << false;
    QTest::newRow("modal") << true << true;
}

void tst_Dialog::closeButtonClosesAndBeeps()
{
    QFETCH(bool, buzzerOn);
    QFETCH(bool, modal);

    QQuickWindow *window = showWindow();
    QVERIFY(window);
    auto *dialog = new QSP::Dialog(window->contentItem());
    dialog->setEnableCloseButton(true);
    dialog->setModal(modal);
    dialog->setClosePolicy(QQuickPopup::NoAutoClose);
    dialog->setX(100);
    dialog->setY(100);
    dialog->setWidth(400);
    dialog->setHeight(300);
    dialog->setTitle(QStringLiteral("Ping test"));
    QSignalSpy closed(dialog, &QQuickPopup::closed);
    QVERIFY(closed.isValid());

    dialog->open();
    QTRY_VERIFY(dialog->isOpened());
    QSP::BeepButton::setBuzzerOn(buzzerOn);
    HMI::PanelSimulator::clearCallLog();

    clickButton(partsOf(dialog).closeButton);
    if (QTest::currentTestFailed())
        return;
    QTRY_COMPARE(closed.count(), 1);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(beepCount(), buzzerOn ? 1 : 0);

    // It opens again with its close button in place.
    dialog->open();
    QTRY_VERIFY(dialog->isOpened());
    QVERIFY(partsOf(dialog).closeButton->isVisible());
}

void tst_Dialog::popupZ_data()
{
    QTest::addColumn<int>("rootPopupZ");
    QTest::newRow("default") << 20000;
    QTest::newRow("host's own") << 31000;
    QTest::newRow("low") << 3;
}

void tst_Dialog::popupZ()
{
    QFETCH(int, rootPopupZ);
    QSP::GlobalInfo::instance().setRootPopupZ(rootPopupZ);
    QQuickWindow *window = showWindow();
    QVERIFY(window);
    auto *dialog = new QSP::Dialog(window->contentItem());
    QCOMPARE(dialog->z(), qreal(rootPopupZ));
    dialog->setWidth(200);
    dialog->setHeight(100);
    dialog->open();
    QTRY_VERIFY(dialog->isOpened());
    QCOMPARE(dialog->popupItem()->z(), qreal(rootPopupZ));
}

void tst_Dialog::bodyItem()
{
    QSP::Dialog dialog;
    QSignalSpy changed(&dialog, &QSP::Dialog::bodyItemChanged);
    QVERIFY(changed.isValid());

    // Set before the dialog has a size: it takes what the content item has, and follows the first width.
    auto *first = new QQuickItem;
    dialog.setBodyItem(first);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(dialog.bodyItem(), first);
    QCOMPARE(first->width(), -2.0);
    QCOMPARE(first->height(), -68.0 - 1);
    dialog.setHeight(200); // the height alone leaves the body as it is
    QCOMPARE(first->size(), QSizeF(-2, -68 - 1));
    dialog.setWidth(300);
    QCOMPARE(first->size(), QSizeF(298, 200 - 68 - 10));

    dialog.setBodyItem(first);
    QCOMPARE(changed.count(), 1);

    // A second body replaces the first on screen; the first stays the dialog's, not lost.
    QPointer<QQuickItem> second = new QQuickItem;
    dialog.setProperty("bodyItem", QVariant::fromValue<QQuickItem *>(second));
    QCOMPARE(changed.count(), 2);
    QCOMPARE(dialog.bodyItem(), second.data());
    QCOMPARE(second->size(), QSizeF(298, 200 - 68 - 1));
    QCOMPARE(first->parentItem(), nullptr);
    QCOMPARE(first->parent(), dialog.contentItem());

    dialog.setBodyItem(nullptr);
    QCOMPARE(changed.count(), 3);
    QCOMPARE(dialog.bodyItem(), nullptr);

    // A body that its user deletes is no longer the dialog's body.
    dialog.setBodyItem(second);
    QCOMPARE(changed.count(), 4);
    delete second;
    QCOMPARE(changed.count(), 5);
    QCOMPARE(dialog.bodyItem(), nullptr);
    dialog.setWidth(280); // lays out without it
    QCOMPARE(first->width(), 298.0);
}

void tst_Dialog::closesWhenRootHides()
{
    QQuickWindow *window = showWindow();
    QVERIFY(window);
    auto *root = new QSP::AppRootItem(window->contentItem());
    root->setWidth(800);
    root->setHeight(600);
    auto *dialog = new QSP::Dialog(root);
    dialog->setWidth(300);
    dialog->setHeight(200);
    QSignalSpy closed(dialog, &QQuickPopup::closed);
    QVERIFY(closed.isValid());

    dialog->open();
    QTRY_VERIFY(dialog->isOpened());
    root->setVisible(false);
    QTRY_COMPARE(closed.count(), 1);
    QVERIFY(!dialog->isVisible());

    // Showing the screen again does not reopen it; the next open() does.
    root->setVisible(true);
    QTest::qWait(50);
    QVERIFY(!dialog->isVisible());
    dialog->open();
    QTRY_VERIFY(dialog->isOpened());

    // Once the root item is gone, dialogs work on their own.
    delete root;
    QCOMPARE(QSP::AppRootItem::instance(), nullptr);
    auto *plain = new QSP::Dialog(window->contentItem());
    plain->setWidth(300);
    plain->setHeight(200);
    plain->open();
    QTRY_VERIFY(plain->isOpened());
    plain->close();
    QTRY_VERIFY(!plain->isVisible());
}

void tst_Dialog::declaredInQml()
{
    QSP::Dialog::registerType();
    QSP::Dialog::registerType(); // a second call changes nothing

    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick 2.15\n"
                      "import QQuickSystemSet 1.0\n"
                      "Dialog { width: 300; height: 200; modal: true; enableCloseButton: true\n"
                      "    title: \"Password\"; bodyItem: Item { objectName: \"body\" } }",
                      QUrl());
    QVERIFY2(component.isReady(), qPrintable(component.errorString()));
    std::unique_ptr<QObject> object(component.create());
    auto *dialog = qobject_cast<QSP::Dialog *>(object.get());
    QVERIFY(dialog);
    QCOMPARE(dialog->title(), QStringLiteral("Password"));
    QVERIFY(dialog->isModal());
    QVERIFY(partsOf(dialog).closeButton);
    QVERIFY(dialog->bodyItem());
    QCOMPARE(dialog->bodyItem()->objectName(), QStringLiteral("body"));
    QCOMPARE(dialog->bodyItem()->parentItem(), dialog->contentItem());
}

QTEST_MAIN(tst_Dialog)

#include "tst_dialog.moc"
