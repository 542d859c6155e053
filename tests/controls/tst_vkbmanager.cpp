#include "AppRootItem.h"
#include "ControlFixture.h"
#include "QVkbPluginLoader.h"

using QSP::VkbManager;

/// The keyboard manager with a test keyboard 240 high at the bottom of a 600-high window.
class tst_VkbManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void showAndHide_data();
    void showAndHide();

private:
    ControlFixture f;
    TestKeyboard m_keyboard{240};
    QQuickItem *m_column = nullptr;
    QQuickItem *m_field = nullptr;
};

void tst_VkbManager::initTestCase()
{
    QSP::GlobalInfo::instance().setRootPopupZ(777);
    qmlRegisterType<QSP::AppRootItem>("QQuickSystemSet", 1, 0, "AppRootItem");
    auto *root = qobject_cast<QSP::AppRootItem *>(f.create(R"(
        AppRootItem {
            width: 800; height: 600
            property alias titleBar: _title; property alias cardsParent: _column; property alias field: _field
            Item { id: _title; width: parent.width; height: 50 }
            Column { id: _column; width: parent.width; TextInput { id: _field; width: 200; height: 40 } }
        })"));
    QVERIFY(root);
    root->init(f.engine());
    m_column = root->getCardContainer();
    m_field = root->property("field").value<QQuickItem *>();
    QVERIFY(m_column && m_field);
    QVERIFY(f.showWindow());
    QVkbPluginLoader::instance()->setVkb(&m_keyboard);
    QSP::VkbManager::instance().showVkb(false); // hiding first loads nothing
    QCOMPARE(m_keyboard.initCalls, 0);
    QCOMPARE(QSP::VkbManager::instance().getHeight(), 0.0);
}

void tst_VkbManager::showAndHide_data()
{
    QTest::addColumn<qreal>("fieldY"); // the field is 40 high
    QTest::addColumn<qreal>("startY"); // where someone else left the column
    QTest::addColumn<qreal>("columnY");
    QTest::addColumn<bool>("keyboardHides"); // the keyboard hides itself rather than being hidden
    // The keyboard's top is at 600 - 240 = 360 in the root item.
    QTest::newRow("covered by 90") << 410.0 << 0.0 << -90.0 << false;
    QTest::newRow("bottom exactly at the keyboard") << 320.0 << 0.0 << 0.0 << true;
    QTest::newRow("covered by 1") << 321.0 << 0.0 << -1.0 << false;
    QTest::newRow("under the keyboard") << 550.0 << 0.0 << -230.0 << true;
    QTest::newRow("column moved, clear of the keyboard") << 320.0 << -12.0 << -12.0 << false;
    QTest::newRow("column moved, keyboard hides itself") << 10.0 << -33.0 << -33.0 << true;
}

void tst_VkbManager::showAndHide()
{
    QFETCH(qreal, fieldY);
    QFETCH(qreal, startY);
    QFETCH(bool, keyboardHides);
    VkbManager &vkb = VkbManager::instance();
    m_field->setY(fieldY);
    m_field->forceActiveFocus();
    QTRY_COMPARE(QGuiApplication::focusObject(), m_field);
    m_column->setY(startY);
    QSignalSpy visible(&vkb, &VkbManager::visibleChanged);

    // The column moves the field clear of the keyboard. The keyboard is loaded once, into the screen's window
    // above its popups, and lets touches through to the screen while it is shown.
    vkb.showVkb(true);
    vkb.showVkb(true); // a second show while shown changes nothing
    QTEST(m_column->y(), "columnY");
    QCOMPARE(m_keyboard.initCalls, 1);
    QVERIFY(m_keyboard.popup()->parentItem() == f.window()->contentItem() && m_keyboard.popup()->z() == 777);
    QVERIFY(vkb.isVisible() && !m_keyboard.popup()->isModal());
    QCOMPARE(vkb.getHeight(), 240.0);

    // Hidden, the column and the keyboard's modality are put back; hiding it takes the focus from the field.
    keyboardHides ? m_keyboard.setVisible(false) : vkb.showVkb(false);
    QCOMPARE(visible.count(), 2);
    QCOMPARE(m_column->y(), 0.0);
    QVERIFY(!vkb.isVisible() && m_keyboard.popup()->isModal());
    QCOMPARE(m_field->hasActiveFocus(), keyboardHides);
}

QTEST_MAIN(tst_VkbManager)
#include "tst_vkbmanager.moc"
