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
    void firstShowLoadsOnce();
    void columnFollowsField_data();
    void columnFollowsField();
    void hideRestoresModalityAndColumn();

private:
    void focusField(qreal y, qreal height);

    ControlFixture f;
    TestKeyboard m_keyboard{240};
    QSP::AppRootItem *m_root = nullptr;
    QQuickItem *m_column = nullptr;
    QQuickItem *m_field = nullptr;
};

void tst_VkbManager::initTestCase()
{
    QSP::GlobalInfo::instance().setRootPopupZ(777);
    qmlRegisterType<QSP::AppRootItem>("QQuickSystemSet", 1, 0, "AppRootItem");
    m_root = qobject_cast<QSP::AppRootItem *>(f.create(R"(
        AppRootItem {
            width: 800; height: 600
            property alias titleBar: _title
            property alias cardsParent: _column
            property alias field: _field
            Item { id: _title; width: parent.width; height: 50 }
            Column {
                id: _column
                width: parent.width
                Item { width: 10; height: 50 }
                TextInput { id: _field; width: 200; height: 40 }
            }
        })"));
    QVERIFY(m_root);
    m_root->init(f.engine());
    m_column = m_root->getCardContainer();
    m_field = m_root->property("field").value<QQuickItem *>();
    QVERIFY(m_column && m_field);
    QVERIFY(f.showWindow());
    QVkbPluginLoader::instance()->setVkb(&m_keyboard);
}

void tst_VkbManager::firstShowLoadsOnce()
{
    VkbManager &vkb = VkbManager::instance();
    vkb.showVkb(false); // hiding first loads nothing
    QCOMPARE(m_keyboard.initCalls, 0);
    QCOMPARE(vkb.getHeight(), 0.0);

    QSignalSpy visible(&vkb, &VkbManager::visibleChanged);
    vkb.showVkb(true);
    QCOMPARE(m_keyboard.initCalls, 1);
    QCOMPARE(m_keyboard.initWindow, f.window());
    QCOMPARE(m_keyboard.initZ, 777);
    QVERIFY(vkb.isVisible());
    QCOMPARE(visible.count(), 1);
    QCOMPARE(vkb.getHeight(), 240.0);
    vkb.setLayoutType(VkbLayout_DateTime);
    QCOMPARE(m_keyboard.layoutType(), VkbLayout_DateTime);
    QVERIFY(!m_keyboard.popup()->isModal()); // touches reach the screen while it is shown

    vkb.showVkb(false);
    QVERIFY(!vkb.isVisible());
    QCOMPARE(visible.count(), 2);
    QVERIFY(m_keyboard.popup()->isModal());
    vkb.showVkb(true);
    vkb.showVkb(false);
    QCOMPARE(m_keyboard.initCalls, 1);
    QCOMPARE(visible.count(), 4);
}

void tst_VkbManager::focusField(qreal y, qreal height)
{
    m_field->setY(y);
    m_field->setHeight(height);
    m_field->forceActiveFocus();
    QTRY_COMPARE(QGuiApplication::focusObject(), m_field);
}

void tst_VkbManager::columnFollowsField_data()
{
    QTest::addColumn<qreal>("fieldY");
    QTest::addColumn<qreal>("fieldHeight");
    QTest::addColumn<qreal>("columnY");

    // The keyboard's top is at 600 - 240 = 360 in the root item.
    QTest::newRow("covered by 90") << 410.0 << 40.0 << -90.0;
    QTest::newRow("bottom exactly at the keyboard") << 320.0 << 40.0 << 0.0;
    QTest::newRow("covered by 1") << 321.0 << 40.0 << -1.0;
    QTest::newRow("under the keyboard") << 550.0 << 30.0 << -220.0;
}

void tst_VkbManager::columnFollowsField()
{
    QFETCH(qreal, fieldY);
    QFETCH(qreal, fieldHeight);
    focusField(fieldY, fieldHeight);
    VkbManager::instance().showVkb(true);
    QTEST(m_column->y(), "columnY");
    VkbManager::instance().showVkb(false);
    QCOMPARE(m_column->y(), 0.0);
    QVERIFY(!m_field->hasActiveFocus()); // hiding takes the focus away from the field
}

void tst_VkbManager::hideRestoresModalityAndColumn()
{
    // A column moved by someone else is put back too, even when the keyboard never moved it.
    focusField(10, 20);
    QSignalSpy visible(&VkbManager::instance(), &VkbManager::visibleChanged);
    VkbManager::instance().showVkb(true);
    VkbManager::instance().showVkb(true); // a second show while shown
    m_column->setY(-33);
    m_keyboard.setVisible(false); // the keyboard hides itself
    QCOMPARE(visible.count(), 2); // one show, one hide: the second show did not connect twice
    QCOMPARE(m_column->y(), 0.0);
    QVERIFY(m_keyboard.popup()->isModal());
    m_column->setY(-12);
    VkbManager::instance().showVkb(true);
    QCOMPARE(m_column->y(), -12.0); // no overlap: left where it is
    VkbManager::instance().showVkb(false);
    QCOMPARE(m_column->y(), 0.0);
}

QTEST_MAIN(tst_VkbManager)
#include "tst_vkbmanager.moc"
