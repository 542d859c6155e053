#include "BeepButton.h"
#include "BeepSwitch.h"
#include "BrightButton.h"
#include "ControlFixture.h"
#include "PanelSimulator.h"

#include <QStyleHints>
#include <QThread>
#include <QtQuick/private/qquickimage_p.h>

#include <mutex>

using HMI::PanelSimulator;
using QSP::BeepButton;
using QSP::BeepSwitch;

class tst_BeepButton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { QVERIFY(ControlFixture::setBuzzer(true)); }
    void cleanup() { m_item.reset(); }

    void clickBeeps_data();
    void clickBeeps();
    void beepSwitch();
    void buzzerWriteRunsOffGuiThread();
    void longPressBeeps();
    void flatuiDocuments();
    void noKeyboardIsHarmless();

private:
    template<typename T>
    T *make(const QByteArray &qml)
    {
        m_item.reset(f.create(qml));
        return qobject_cast<T *>(m_item.get());
    }

    ControlFixture f;
    std::unique_ptr<QObject> m_item;
};

void tst_BeepButton::initTestCase()
{
    BeepButton::registerType();
    BeepSwitch::registerType();
    QSP::BrightButton::registerType();
    QVERIFY(f.showWindow());
}

void tst_BeepButton::clickBeeps_data()
{
    QTest::addColumn<QByteArray>("qml");
    QTest::addColumn<bool>("buzzer");

    QTest::newRow("button, buzzer on") << QByteArray("BeepButton { width: 100; height: 40 }") << true;
    QTest::newRow("button, buzzer off") << QByteArray("BeepButton { width: 100; height: 40 }") << false;
    QTest::newRow("switch, buzzer on") << QByteArray("BeepSwitch { width: 100; height: 30 }") << true;
    QTest::newRow("switch, buzzer off") << QByteArray("BeepSwitch { width: 100; height: 30 }") << false;
}

void tst_BeepButton::clickBeeps()
{
    QFETCH(QByteArray, qml);
    QFETCH(bool, buzzer);

    auto *button = make<BeepButton>(qml);
    QVERIFY(button);
    QVERIFY(ControlFixture::setBuzzer(buzzer));
    QVERIFY(ControlFixture::clickButton(button));
    QCOMPARE(ControlFixture::beeps(), buzzer ? 1 : 0);
    QCOMPARE(BeepButton::cachedBuzzerOn(), buzzer); // asked of the system on every click, and remembered
    button->setAutoCloseVkb(false);                 // still beeps
    QVERIFY(ControlFixture::clickButton(button));
    QCOMPARE(ControlFixture::beeps(), buzzer ? 2 : 0);
}

void tst_BeepButton::beepSwitch()
{
    // Native reactions come first: the beep, then the toggle, then QML's onClicked.
    auto *sw = make<BeepSwitch>("BeepSwitch { width: 100; height: 30; property var seen: []; "
                                "onClicked: seen = seen.concat([on]) }");
    QVERIFY(sw);
    auto *track = qobject_cast<QQuickRectangle *>(sw->background());
    auto *knob = qobject_cast<QQuickRectangle *>(sw->childItems().value(1));
    QVERIFY(track && knob && knob != track);
    // The knob lies inside the track: in its left half when off, its right half when on.
    const auto knobAt = [knob](bool right) {
        return knob->y() >= 0 && knob->y() + knob->height() <= 30 &&
               (right ? knob->x() >= 50 && knob->x() + knob->width() <= 100
                      : knob->x() >= 0 && knob->x() + knob->width() <= 50);
    };
    QVERIFY(knobAt(false));
    QSignalSpy changed(sw, &BeepSwitch::onChanged);
    QVERIFY(ControlFixture::clickButton(sw));
    QVERIFY(knobAt(true));
    QCOMPARE(track->color(), QColor(QStringLiteral("#3482FF")));
    QVERIFY(ControlFixture::clickButton(sw));
    QVERIFY(knobAt(false));
    QCOMPARE(track->color(), QColor(QStringLiteral("#C9CDD4")));
    QCOMPARE(changed.count(), 2);
    QCOMPARE(sw->property("seen").toList(), (QVariantList{true, false}));
    QCOMPARE(ControlFixture::beeps(), 2);

    // Disabled, it is drawn at half opacity and ignores touches.
    sw->onChangeEnabled(false);
    QCOMPARE(sw->opacity(), 0.5);
    ControlFixture::click(sw);
    QVERIFY(!sw->on());
    QCOMPARE(ControlFixture::beeps(), 2);
    sw->onChangeEnabled(true);
    QCOMPARE(sw->opacity(), 1.0);
    QVERIFY(ControlFixture::clickButton(sw));
    QVERIFY(sw->on());
}

void tst_BeepButton::buzzerWriteRunsOffGuiThread()
{
    QVERIFY(BeepButton::isBuzzerOn());
    std::mutex mutex;
    QList<QThread *> threads;
    PanelSimulator::setCallObserver([&](const std::string &line) {
        std::lock_guard<std::mutex> lock(mutex);
        if (line.rfind("setBuzzerOn", 0) == 0)
            threads << QThread::currentThread();
    });
    BeepButton::setBuzzerOn(false);
    // The write has finished when the call returns.
    QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>{"setBuzzerOn 0"});
    QVERIFY(!MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn());
    BeepButton::setBuzzerOn(true);
    PanelSimulator::setCallObserver(nullptr);
    QCOMPARE(threads.size(), 2);
    QVERIFY(!threads.contains(QThread::currentThread()));
}

void tst_BeepButton::longPressBeeps()
{
    auto *button = make<QSP::BrightButton>("BrightButton { width: 60; height: 60 }");
    QVERIFY(button);
    QSignalSpy held(button, &QQuickAbstractButton::pressAndHold);
    const QPoint centre = button->mapToScene(QPointF(30, 30)).toPoint();
    QTest::mousePress(f.window(), Qt::LeftButton, Qt::NoModifier, centre);
    QTRY_COMPARE_WITH_TIMEOUT(held.count(), 1,
                              QGuiApplication::styleHints()->mousePressAndHoldInterval() + 2000);
    QCOMPARE(ControlFixture::beeps(), 1);
    QTest::mouseRelease(f.window(), Qt::LeftButton, Qt::NoModifier, centre);
    QCOMPARE(ControlFixture::beeps(), 1); // the release after a long press is no click
    QVERIFY(ControlFixture::clickButton(button));
    QCOMPARE(ControlFixture::beeps(), 2);
}

void tst_BeepButton::flatuiDocuments()
{
    // The menu button shows its icon; a click beeps.
    auto *menu = make<BeepButton>("import \"qrc:/setting/flatui\"\nMenuButton { width: 200; height: 56; "
                                  "text: \"General\"; imgUrl: \"qrc:/setting/icons/newsetting.png\" }");
    QVERIFY(menu);
    auto *image = menu->findChild<QQuickImage *>();
    QVERIFY(image);
    QCOMPARE(image->status(), QQuickImage::Ready); // the icon is in the resources
    QVERIFY(ControlFixture::clickButton(menu));
    QCOMPARE(ControlFixture::beeps(), 1);

    // The adapter button is as wide as its text and filled while checked.
    auto *nic = make<BeepButton>("import \"qrc:/setting/flatui\"\nNICButton { height: 40; checkable: true }");
    QVERIFY(nic);
    auto *label = nic->property("txt").value<QQuickText *>();
    label->setText(QStringLiteral("LAN0"));
    QCOMPARE(nic->width(), label->width() + 20);
    QVERIFY(ControlFixture::clickButton(nic));
    QVERIFY(nic->isChecked());
    QCOMPARE(qobject_cast<QQuickRectangle *>(nic->background())->color(), QColor(QStringLiteral("#3482FF")));

    // The brightness step button shows the icon of its direction, buttonSize large.
    auto *step =
        make<QSP::BrightButton>("import \"qrc:/setting/flatui\"\nBrightControlButton { buttonSize: 48 }");
    QVERIFY(step);
    QCOMPARE(step->size(), QSizeF(48, 48));
    step->setProperty("isIncrement", false);
    QCOMPARE(step->background()->property("source").toUrl(),
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
