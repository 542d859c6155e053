#include "AppRootItem.h"
#include "BeepSwitch.h"
#include "BrightButton.h"
#include "CardBrightness.h"
#include "CardTime.h"
#include "GlobalInfo.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"
#include "TimeEditPopup.h"

#include <QQuickWindow>
#include <QSignalSpy>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuickTemplates2/private/qquickslider_p.h>
#include <QtTest>

using HMI::PanelSimulator;
using QSP::AppRootItem;
using QSP::TimeEditPopup;

namespace {

/// The logged calls that start with @p prefix, in call order.
QStringList logged(const std::string &prefix)
{
    QStringList lines;
    for (const auto &line : PanelSimulator::callLog()) {
        if (line.rfind(prefix, 0) == 0)
            lines << QString::fromStdString(line);
    }
    return lines;
}

QStringList lines(std::initializer_list<const char *> texts)
{
    QStringList result;
    for (const char *text : texts)
        result << QLatin1String(text);
    return result;
}

} // namespace

/// The General page as a person uses it: brightness slider and step buttons, buzzer switch, clock.
class tst_GeneralPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void stepButtons_data();
    void stepButtons();
    void sliderDrag_data();
    void sliderDrag();
    void buzzerSwitch();
    void setDateAndTime_data();
    void setDateAndTime();
    void clockFollowsLanguage();

private:
    /// The minus button comes first in the row, the plus button last.
    QQuickItem *stepButton(bool increment) const
    {
        return m_brightness->findChildren<QSP::BrightButton *>().value(increment);
    }
    void press(QQuickItem *item) { QTest::mousePress(f.window(), Qt::LeftButton, {}, f.centreOf(item)); }

    ScreenFixture f;
    QSP::CardBrightness *m_brightness = nullptr;
    QSP::CardTime *m_time = nullptr;
};

void tst_GeneralPage::initTestCase()
{
    // A level outside 1..32 in the panel's state: brought into range, never turning the buttons around.
    QVERIFY(PanelSimulator::loadStateJson(R"({"brightness": 40, "buzzer": true})"));
    PanelSimulator::clearCallLog();
    QVERIFY(f.load(QSize(1024, 600)));
    QVERIFY(f.showPage(AppRootItem::MI_General));
    m_brightness = qobject_cast<QSP::CardBrightness *>(f.card(AppRootItem::Card_Brightness));
    m_time = qobject_cast<QSP::CardTime *>(f.card(AppRootItem::Card_Time));
    QVERIFY(m_brightness && m_time);
    // The level is shown in range, and nothing is written while the card is made.
    QVERIFY(ScreenFixture::findText(m_brightness, QStringLiteral("32")));
    QVERIFY(logged("setBright").isEmpty());
}

void tst_GeneralPage::stepButtons_data()
{
    QTest::addColumn<int>("start"); // 0: the level as read (the first row runs first)
    QTest::addColumn<bool>("increment");
    QTest::addColumn<int>("holdMs"); // 0: a tap; -1: the finger slides off the button before it is lifted
    QTest::addColumn<QStringList>("writes");
    QTest::newRow("minus tapped at 40") << 0 << false << 0 << lines({"setBright 31 0", "setBright 31 1"});
    QTest::newRow("plus held at 32") << 32 << true << 800 << lines({"setBright 32 1"});
    QTest::newRow("minus held at 1") << 1 << false << 800 << lines({"setBright 1 1"});
    QTest::newRow("plus held from 30 stops at 32")
        << 30 << true << 800 << lines({"setBright 31 0", "setBright 32 0", "setBright 32 1"});
    // The step made by a cancelled press is kept by the system all the same: saved when the button lets go,
    // and again when the press is cancelled.
    QTest::newRow("minus slid off") << 20 << false << -1
                                    << lines({"setBright 19 0", "setBright 19 1", "setBright 19 1"});
    QTest::newRow("plus slid off") << 20 << true << -1
                                   << lines({"setBright 21 0", "setBright 21 1", "setBright 21 1"});
}

void tst_GeneralPage::stepButtons()
{
    QFETCH(int, start);
    QFETCH(bool, increment);
    QFETCH(int, holdMs);
    if (start)
        m_brightness->setBrightnessValue(start);
    PanelSimulator::clearCallLog();

    // Held for several auto-repeat steps once the card pool's press delay has passed.
    QQuickItem *button = stepButton(increment);
    press(button);
    QTRY_VERIFY(button->property("pressed").toBool());
    QTest::qWait(qMax(holdMs, 0));
    const QPoint off = f.centreOf(button) + QPoint(int(button->width()) * (increment ? 2 : -2), 0);
    if (holdMs < 0)
        QTest::mouseMove(f.window(), off);
    QTest::mouseRelease(f.window(), Qt::LeftButton, {}, holdMs < 0 ? off : f.centreOf(button));

    QTEST(logged("setBright"), "writes");
    // Every repetition clicks, also at the limit; a cancelled press does not.
    QVERIFY(ScreenFixture::calls("beep 1") >= (holdMs > 0 ? 2 : holdMs == 0 ? 1 : 0));
    QVERIFY(ScreenFixture::findText(m_brightness, QString::number(m_brightness->brightnessValue())));
}

void tst_GeneralPage::sliderDrag_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<qreal>("towards"); // share of the slider's width, beyond its ends
    QTest::addColumn<int>("level");
    QTest::newRow("down to 1") << 20 << -0.2 << 1;
    QTest::newRow("up to 32") << 5 << 1.05 << 32;
}

void tst_GeneralPage::sliderDrag()
{
    QFETCH(int, from);
    QFETCH(qreal, towards);
    QFETCH(int, level);
    m_brightness->setBrightnessValue(from);
    auto *slider = m_brightness->findChild<QQuickSlider *>();
    QVERIFY(slider);
    auto *handle = slider->property("handle").value<QQuickItem *>();
    QVERIFY(handle);
    QSignalSpy changes(m_brightness, &QSP::CardBrightness::brightnessValueChanged);
    PanelSimulator::clearCallLog();

    const QPoint start = f.centreOf(handle);
    const int end = qBound(0, qRound(slider->mapToScene(QPointF(slider->width() * towards, 0)).x()),
                           f.window()->width() - 1);
    press(handle);
    QTRY_VERIFY(slider->property("pressed").toBool());
    for (int step = 1; step <= 12; ++step)
        QTest::mouseMove(f.window(), QPoint(start.x() + (end - start.x()) * step / 12, start.y()), 10);
    QTest::mouseRelease(f.window(), Qt::LeftButton, {}, QPoint(end, start.y()));

    // One click on touching, every change applied at once, saved on release.
    QCOMPARE(ScreenFixture::calls("beep 1"), 1);
    QStringList writes = logged("setBright");
    QVERIFY(changes.count() >= 2);
    QCOMPARE(writes.size(), changes.count() + 1);
    QCOMPARE(writes.takeLast(), QStringLiteral("setBright %1 1").arg(level));
    QCOMPARE(writes.last(), QStringLiteral("setBright %1 0").arg(level));
    QVERIFY(ScreenFixture::findText(m_brightness, QString::number(level)));
}

void tst_GeneralPage::buzzerSwitch()
{
    // Changed by another program while the screen is closed: each opening shows the panel's state.
    auto *toggle = f.card(AppRootItem::Card_Buzzer)->findChild<QSP::BeepSwitch *>();
    QVERIFY(toggle);
    for (bool on : {false, true}) {
        f.close();
        QVERIFY(PanelSimulator::loadStateJson(on ? R"({"buzzer": true})" : R"({"buzzer": false})"));
        f.open();
        QCOMPARE(toggle->on(), on);
    }
    // Switched off, it clicks a last time; switched on, it is silent.
    for (bool wasOn : {true, false}) {
        PanelSimulator::clearCallLog();
        QVERIFY(f.clickButton(toggle));
        QCOMPARE(ScreenFixture::calls("beep"), wasOn ? 1 : 0);
        QCOMPARE(logged("setBuzzerOn"), QStringList(QStringLiteral("setBuzzerOn %1").arg(int(!wasOn))));
        QCOMPARE(toggle->on(), !wasOn);
    }
}

void tst_GeneralPage::setDateAndTime_data()
{
    QTest::addColumn<bool>("settable");
    QTest::newRow("accepted") << true;
    QTest::newRow("refused") << false;
}

void tst_GeneralPage::setDateAndTime()
{
    QFETCH(bool, settable);
    const QString shown = QStringLiteral("2030/05/17 Fri 08:09:10");
    QTRY_VERIFY(m_time->currentDateTime() != shown); // back on the running clock
    QVERIFY(PanelSimulator::loadStateJson(settable ? R"({"clockSettable": true})"
                                                   : R"({"clockSettable": false})"));
    QVERIFY(f.clickButton(m_time->findChild<QSP::BeepButton *>()));
    auto *popup = m_time->findChild<TimeEditPopup *>();
    QVERIFY(popup);
    QTRY_VERIFY(popup->isOpened());

    const QStringList typed = lines({"2030", "5", "17", "8", "9", "10"});
    for (int field = TimeEditPopup::Year; field <= TimeEditPopup::Second; ++field) {
        QVERIFY(f.click(popup->inputField(TimeEditPopup::InputType(field))));
        QTest::keyClick(f.window(), Qt::Key_Delete);
        for (const QChar digit : typed.at(field))
            QTest::keyClick(f.window(), digit.toLatin1());
    }
    PanelSimulator::clearCallLog();
    QVERIFY(f.clickButton(popup->confirmButton()));

    const QDateTime chosen(QDate(2030, 5, 17), QTime(8, 9, 10));
    QCOMPARE(logged("setSystemTime"),
             QStringList(QStringLiteral("setSystemTime %1").arg(chosen.toSecsSinceEpoch())));
    QCOMPARE(logged("syncHwclock").size(), settable ? 1 : 0);
    // Accepted: shown at once, not at the next tick. Refused: nothing changes.
    QCOMPARE(ScreenFixture::findText(m_time, shown) != nullptr, settable);
    QTRY_VERIFY(!popup->isVisible());
}

void tst_GeneralPage::clockFollowsLanguage()
{
    QSignalSpy changed(m_time, &QSP::CardTime::currentDateTimeChanged);
    const QLocale chinese(QLocale::Chinese, QLocale::China);
    QSP::GlobalInfo::switchLanguage(chinese);
    QCOMPARE(changed.count(), 1); // at once, not at the next tick
    QVERIFY2(m_time->currentDateTime().section(QLatin1Char(' '), 1, 1).startsWith(QStringLiteral("周")),
             qPrintable(m_time->currentDateTime())); // 周一 to 周日
    QVERIFY(ScreenFixture::findText(m_time, QStringLiteral("日期与时间")));
    QVERIFY(ScreenFixture::findText(f.card(AppRootItem::Card_Buzzer), QStringLiteral("蜂鸣器")));

    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QVERIFY(ScreenFixture::findText(m_time, QStringLiteral("Time")));
    // The clock runs on.
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 2, 2500);
}

QTEST_MAIN(tst_GeneralPage)
#include "tst_generalpage.moc"
