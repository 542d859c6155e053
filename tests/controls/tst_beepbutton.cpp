#include "BeepButton.h"
#include "BeepSwitch.h"
#include "BrightButton.h"
#include "PanelSimulator.h"
#include "VkbManager.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QStyleHints>
#include <QThread>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtTest>

#include <memory>
#include <mutex>

using HMI::PanelSimulator;
using QSP::BeepButton;
using QSP::BeepSwitch;

namespace {

int beeps()
{
    int count = 0;
    for (const auto &line : PanelSimulator::callLog())
        count += line == "beep 1";
    return count;
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

} // namespace

class tst_BeepButton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void clickBeepsWhenBuzzerOn_data();
    void clickBeepsWhenBuzzerOn();
    void switchGeometry_data();
    void switchGeometry();
    void switchToggleOrder();
    void switchSetOnUnchanged();
    void disabledSwitch();
    void buzzerWriteRunsOffGuiThread();
    void buzzerWriteSkippedWhenCacheAgrees();
    void longPressBeeps();
    void menuButtonDocument();
    void nicButtonDocument();
    void brightControlButtonDocument();
    void noKeyboardIsHarmless();

private:
    QQuickItem *create(const QByteArray &qml);
    void clickButton(QQuickAbstractButton *button);

    QQmlEngine m_engine;
    std::unique_ptr<QQuickWindow> m_window;
};

void tst_BeepButton::initTestCase()
{
    BeepButton::registerType();
    BeepSwitch::registerType();
    QSP::BrightButton::registerType();
    BeepSwitch::registerType(); // a second registration changes nothing
}

void tst_BeepButton::init()
{
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(400, 300);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QVERIFY(PanelSimulator::loadStateJson("{}"));
    PanelSimulator::clearCallLog();
}

void tst_BeepButton::cleanup()
{
    m_window.reset();
}

QQuickItem *tst_BeepButton::create(const QByteArray &qml)
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQuick 2.15\nimport QQuickSystemSet 1.0\n" + qml,
                      QUrl(QStringLiteral("test.qml")));
    auto *item = qobject_cast<QQuickItem *>(component.create());
    if (!item) {
        qWarning() << component.errorString();
        return nullptr;
    }
    item->setParentItem(m_window->contentItem());
    item->setParent(m_window.get());
    return item;
}

void tst_BeepButton::clickButton(QQuickAbstractButton *button)
{
    QSignalSpy clicked(button, &QQuickAbstractButton::clicked);
    QVERIFY(clicked.isValid());
    QTest::mouseClick(m_window.get(), Qt::LeftButton, Qt::NoModifier, centreOf(button));
    QCOMPARE(clicked.count(), 1);
}

void tst_BeepButton::clickBeepsWhenBuzzerOn_data()
{
    QTest::addColumn<QByteArray>("qml");
    QTest::addColumn<bool>("buzzer");
    QTest::addColumn<int>("beeps");

    const QByteArray button = "BeepButton { width: 100; height: 40 }";
    const QByteArray sw = "BeepSwitch { width: 100; height: 30 }";
    QTest::newRow("button, buzzer on") << button << true << 1;
    QTest::newRow("button, buzzer off") << button << false << 0;
    QTest::newRow("switch, buzzer on") << sw << true << 1;
    QTest::newRow("switch, buzzer off") << sw << false << 0;
}

void tst_BeepButton::clickBeepsWhenBuzzerOn()
{
    QFETCH(QByteArray, qml);
    QFETCH(bool, buzzer);
    QVERIFY(PanelSimulator::loadStateJson(buzzer ? R"({"buzzer": true})" : R"({"buzzer": false})"));
    auto *button = qobject_cast<BeepButton *>(create(qml));
    QVERIFY(button);
    clickButton(button);
    QTEST(beeps(), "beeps");
    // The state is asked of the system on every click, and remembered.
    QCOMPARE(BeepButton::cachedBuzzerOn(), buzzer);

    button->setAutoCloseVkb(false); // still beeps
    PanelSimulator::clearCallLog();
    clickButton(button);
    QTEST(beeps(), "beeps");
}

void tst_BeepButton::switchGeometry_data()
{
    QTest::addColumn<qreal>("width");
    QTest::addColumn<qreal>("height");
    QTest::addColumn<qreal>("knobWidth");
    QTest::addColumn<qreal>("offX");
    QTest::addColumn<qreal>("onX");

    QTest::newRow("30 high") << 100.0 << 30.0 << 26.4 << 5.0 << 68.6;
    QTest::newRow("60 high") << 150.0 << 60.0 << 52.8 << 10.0 << 87.2;
    QTest::newRow("45 high") << 90.0 << 45.0 << 39.6 << 7.5 << 42.9;
}

void tst_BeepButton::switchGeometry()
{
    QFETCH(qreal, width);
    QFETCH(qreal, height);
    auto *sw = qobject_cast<BeepSwitch *>(create("BeepSwitch { width: " + QByteArray::number(width) +
                                                 "; height: " + QByteArray::number(height) + " }"));
    QVERIFY(sw);
    auto *track = qobject_cast<QQuickRectangle *>(sw->background());
    QVERIFY(track);
    QQuickRectangle *knob = nullptr;
    for (QQuickItem *child : sw->childItems()) {
        if (child != track)
            knob = qobject_cast<QQuickRectangle *>(child);
    }
    QVERIFY(knob);

    QCOMPARE(track->radius(), height / 2);
    QCOMPARE(track->color(), QColor(QStringLiteral("#C9CDD4")));
    QCOMPARE(knob->color(), QColor(Qt::white));
    QCOMPARE(knob->height(), height * 2 / 3);
    QCOMPARE(knob->radius(), height / 3);
    QTEST(knob->width(), "knobWidth");
    QTEST(knob->x(), "offX");
    QVERIFY(qAbs(knob->y() + knob->height() / 2 - height / 2) <= 0.5); // anchors keep whole pixels

    clickButton(sw);
    QVERIFY(sw->on());
    QTEST(knob->x(), "onX");
    QCOMPARE(track->color(), QColor(QStringLiteral("#3482FF")));
    clickButton(sw);
    QTEST(knob->x(), "offX");
    QCOMPARE(track->color(), QColor(QStringLiteral("#C9CDD4")));
}

void tst_BeepButton::switchToggleOrder()
{
    // Native reactions run first: the beep, then the toggle, then QML's onClicked.
    QQuickItem *item = create("BeepSwitch { width: 100; height: 30; property var seen: []\n"
                              "  onClicked: seen = seen.concat([on]) }");
    auto *sw = qobject_cast<BeepSwitch *>(item);
    QVERIFY(sw);
    QSignalSpy changed(sw, &BeepSwitch::onChanged);
    QVERIFY(changed.isValid());
    clickButton(sw);
    clickButton(sw);
    QCOMPARE(changed.count(), 2);
    QCOMPARE(changed.at(0).at(0).toBool(), true);
    QCOMPARE(changed.at(1).at(0).toBool(), false);
    QCOMPARE(sw->property("seen").toList(), (QVariantList{true, false}));
    QCOMPARE(beeps(), 2);
}

void tst_BeepButton::switchSetOnUnchanged()
{
    auto *sw = qobject_cast<BeepSwitch *>(create("BeepSwitch { width: 100; height: 30 }"));
    QVERIFY(sw);
    QSignalSpy changed(sw, &BeepSwitch::onChanged);
    QVERIFY(changed.isValid());
    sw->setOn(false);
    QCOMPARE(changed.count(), 0);
    sw->setProperty("on", true);
    QCOMPARE(changed.count(), 1);
    sw->setOn(true);
    QCOMPARE(changed.count(), 1);
    QVERIFY(sw->autoCloseVkb());
}

void tst_BeepButton::disabledSwitch()
{
    auto *sw = qobject_cast<BeepSwitch *>(create("BeepSwitch { width: 100; height: 30 }"));
    QVERIFY(sw);
    sw->onChangeEnabled(false);
    QCOMPARE(sw->opacity(), 0.5);
    QVERIFY(!sw->isEnabled());
    QTest::mouseClick(m_window.get(), Qt::LeftButton, Qt::NoModifier, centreOf(sw));
    QVERIFY(!sw->on());
    QCOMPARE(beeps(), 0);
    sw->onChangeEnabled(true);
    QCOMPARE(sw->opacity(), 1.0);
    clickButton(sw);
    QVERIFY(sw->on());
}

void tst_BeepButton::buzzerWriteRunsOffGuiThread()
{
    QVERIFY(BeepButton::isBuzzerOn());
    std::mutex mutex;
    QList<QThread *> threads;
    PanelSimulator::setCallObserver([&](const std::string &line) {
        if (line.rfind("setBuzzerOn", 0) == 0) {
            std::lock_guard<std::mutex> lock(mutex);
            threads << QThread::currentThread();
        }
    });
    BeepButton::setBuzzerOn(false);
    // The write has finished when the call returns.
    QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>{"setBuzzerOn 0"});
    QVERIFY(!MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn());
    QVERIFY(!BeepButton::cachedBuzzerOn());
    BeepButton::setBuzzerOn(true);
    PanelSimulator::setCallObserver(nullptr);
    QCOMPARE(threads.size(), 2);
    QVERIFY(threads[0] != QThread::currentThread());
    QVERIFY(threads[1] != QThread::currentThread());
}

void tst_BeepButton::buzzerWriteSkippedWhenCacheAgrees()
{
    QVERIFY(BeepButton::isBuzzerOn());
    QVERIFY(PanelSimulator::loadStateJson(R"({"buzzer": false})")); // changed behind the cache's back
    BeepButton::setBuzzerOn(true);
    QVERIFY(PanelSimulator::callLog().empty());
    QVERIFY(!MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn());
}

void tst_BeepButton::longPressBeeps()
{
    auto *button = qobject_cast<QSP::BrightButton *>(create("BrightButton { width: 60; height: 60 }"));
    QVERIFY(button);
    QSignalSpy held(button, &QQuickAbstractButton::pressAndHold);
    QSignalSpy clicked(button, &QQuickAbstractButton::clicked);
    QVERIFY(held.isValid());
    QVERIFY(clicked.isValid());
    QTest::mousePress(m_window.get(), Qt::LeftButton, Qt::NoModifier, centreOf(button));
    QTRY_COMPARE_WITH_TIMEOUT(held.count(), 1,
                              QGuiApplication::styleHints()->mousePressAndHoldInterval() + 2000);
    QCOMPARE(beeps(), 1);
    QTest::mouseRelease(m_window.get(), Qt::LeftButton, Qt::NoModifier, centreOf(button));
    QCOMPARE(beeps(), 1 + clicked.count());
    clickButton(button);
    QCOMPARE(beeps(), 2 + clicked.count() - 1);
}

void tst_BeepButton::menuButtonDocument()
{
    QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/setting/flatui/MenuButton.qml")));
    auto *button = qobject_cast<BeepButton *>(component.create());
    QVERIFY2(button, qPrintable(component.errorString()));
    button->setParentItem(m_window->contentItem());
    button->setParent(m_window.get());
    button->setSize(QSizeF(200, 56));
    button->setText(QStringLiteral("General"));
    button->setProperty("imgUrl", QUrl(QStringLiteral("qrc:/setting/icons/newsetting.png")));
    QCOMPARE(qobject_cast<QQuickRectangle *>(button->background())->radius(), 12.0);
    const auto texts = button->findChildren<QQuickText *>();
    QCOMPARE(texts.size(), 1);
    QCOMPARE(texts[0]->text(), QStringLiteral("General"));
    QCOMPARE(texts[0]->font().pixelSize(), qRound(0.357 * 56));
    QQuickItem *image = nullptr;
    for (QQuickItem *child : button->childItems()) {
        if (child->inherits("QQuickImage"))
            image = child;
    }
    QVERIFY(image);
    QCOMPARE(image->height(), 0.57 * 56);
    QCOMPARE(image->x(), image->width() / 2 - 4);
    QCOMPARE(texts[0]->x(), image->width() * 1.875 - 4);
    QCOMPARE(image->property("status").toInt(), 1); // Image.Ready: the icon is in the resources
    clickButton(button);
    QCOMPARE(beeps(), 1);
}

void tst_BeepButton::nicButtonDocument()
{
    QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/setting/flatui/NICButton.qml")));
    auto *button = qobject_cast<BeepButton *>(component.create());
    QVERIFY2(button, qPrintable(component.errorString()));
    button->setParentItem(m_window->contentItem());
    button->setParent(m_window.get());
    auto *text = button->property("txt").value<QQuickText *>();
    QVERIFY(text);
    QCOMPARE(text->text(), QStringLiteral("Network 0"));
    text->setText(QStringLiteral("LAN0"));
    QCOMPARE(button->width(), text->width() + 20);
    auto *background = qobject_cast<QQuickRectangle *>(button->background());
    QCOMPARE(background->color(), QColor(QStringLiteral("#FFFFFF")));
    QCOMPARE(text->color(), QColor(QStringLiteral("#3482FF")));
    QCOMPARE(background->border()->width(), 1.0);
    button->setCheckable(true);
    button->setHeight(40);
    clickButton(button);
    QVERIFY(button->isChecked());
    QCOMPARE(background->color(), QColor(QStringLiteral("#3482FF")));
    QCOMPARE(text->color(), QColor(QStringLiteral("#FFFFFF")));
    QCOMPARE(background->border()->width(), 0.0);
}

void tst_BeepButton::brightControlButtonDocument()
{
    QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/setting/flatui/BrightControlButton.qml")));
    auto *button = qobject_cast<QSP::BrightButton *>(component.create());
    QVERIFY2(button, qPrintable(component.errorString()));
    button->setParent(m_window.get());
    QCOMPARE(button->property("iconSource").toString(), QStringLiteral("qrc:/setting/icons/newincrease.png"));
    button->setProperty("isIncrement", false);
    QCOMPARE(button->property("iconSource").toString(), QStringLiteral("qrc:/setting/icons/newdecrease.png"));
    button->setProperty("buttonSize", 48);
    QCOMPARE(button->size(), QSizeF(48, 48));
    QCOMPARE(button->background()->property("source").toUrl(),
             QUrl(QStringLiteral("qrc:/setting/icons/newdecrease.png")));
}

void tst_BeepButton::noKeyboardIsHarmless()
{
    QSP::VkbManager &vkb = QSP::VkbManager::instance();
    vkb.showVkb(true);
    vkb.showVkb(false);
    QVERIFY(!vkb.isVisible());
    QCOMPARE(vkb.getHeight(), 0.0);
}

QTEST_MAIN(tst_BeepButton)
#include "tst_beepbutton.moc"
