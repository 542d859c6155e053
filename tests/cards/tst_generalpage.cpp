#include "AppRootItem.h"
#include "BeepButton.h"
#include "CardBrightness.h"
#include "CardTime.h"
#include "GlobalInfo.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"
#include "TimeEditPopup.h"

#include <QQuickWindow>
#include <QSignalSpy>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtTest>

#include <atomic>

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

/// The items under @p under of the C++ class @p className, in tree order.
QList<QQuickItem *> itemsOf(QQuickItem *under, const char *className)
{
    QList<QQuickItem *> found;
    for (QQuickItem *item : under->findChildren<QQuickItem *>()) {
        if (item->inherits(className))
            found << item;
    }
    return found;
}

} // namespace

/// The General page as a person uses it: brightness slider and step buttons, buzzer switch, clock.
class tst_GeneralPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void pageLayout();
    void levelReadOutOfRange();
    void heldStepButton_data();
    void heldStepButton();
    void sliderDrag_data();
    void sliderDrag();
    void buzzerSwitch_data();
    void buzzerSwitch();
    void setDateAndTime_data();
    void setDateAndTime();
    void clockFollowsLanguage();

private:
    /// The minus button comes first in the row, the plus button last.
    QQuickItem *stepButton(bool increment) const
    {
        return itemsOf(m_brightness, "QSP::BrightButton").value(increment);
    }
    QQuickItem *switchItem() const
    {
        return itemsOf(f.card(AppRootItem::Card_Buzzer), "QSP::BeepSwitch").value(0);
    }
    void press(QQuickItem *item) { QTest::mousePress(f.window(), Qt::LeftButton, {}, f.centreOf(item)); }

    ScreenFixture f;
    QSP::CardBrightness *m_brightness = nullptr;
    QSP::CardTime *m_time = nullptr;
};

void tst_GeneralPage::initTestCase()
{
    // A level outside 1..32, as a panel might report it.
    QVERIFY(PanelSimulator::loadStateJson(R"({"brightness": 40, "buzzer": true})"));
    PanelSimulator::clearCallLog();
    QVERIFY(f.load(QSize(1024, 600)));
    QVERIFY(f.showPage(AppRootItem::MI_General));
    m_brightness = qobject_cast<QSP::CardBrightness *>(f.card(AppRootItem::Card_Brightness));
    m_time = qobject_cast<QSP::CardTime *>(f.card(AppRootItem::Card_Time));
    QVERIFY(m_brightness && m_time && switchItem());
}

void tst_GeneralPage::pageLayout()
{
    const QStringList texts = ScreenFixture::visibleTexts(f.root()->getCardContainer());
    QCOMPARE(texts.mid(0, 4), lines({"Brightness", "40", "Time", "Date & Time"}));
    QCOMPARE(texts.count(QStringLiteral("Buzzer")), 2); // caption and switch label

    // 1024 wide in landscape: a unit of 54 (54.4 for the clock, not rounded).
    QCOMPARE(m_brightness->brightnessTitleRowHeight(), 54);
    QCOMPARE(m_time->timeTitleRowHeight(), 54.4);
    QCOMPARE(stepButton(true)->width(), 30.0);
    auto *clock = qobject_cast<QQuickText *>(ScreenFixture::findText(m_time, m_time->currentDateTime()));
    QVERIFY(clock);
    QCOMPARE(clock->color(), QColor(QStringLiteral("#3482FF")));
}

void tst_GeneralPage::levelReadOutOfRange()
{
    // Shown as read (pageLayout), and nothing written while the card was made.
    QVERIFY(logged("setBright").isEmpty());

    PanelSimulator::clearCallLog();
    QVERIFY(f.clickButton(stepButton(false)));
    QCOMPARE(logged("setBright"), lines({"setBright 32 0", "setBright 32 1"}));
    QVERIFY(ScreenFixture::findText(m_brightness, QStringLiteral("32")));
}

void tst_GeneralPage::heldStepButton_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<bool>("increment");
    QTest::addColumn<QStringList>("writes");
    QTest::newRow("plus held at 32") << 32 << true << lines({"setBright 32 1"});
    QTest::newRow("minus held at 1") << 1 << false << lines({"setBright 1 1"});
    QTest::newRow("plus held from 30 stops at 32")
        << 30 << true << lines({"setBright 31 0", "setBright 32 0", "setBright 32 1"});
}

void tst_GeneralPage::heldStepButton()
{
    QFETCH(int, start);
    QFETCH(bool, increment);
    QFETCH(QStringList, writes);
    m_brightness->setBrightnessValue(start);
    QCOMPARE(m_brightness->brightnessValue(), start);
    PanelSimulator::clearCallLog();

    // Held for several auto-repeat steps once the card pool's press delay has passed.
    QQuickItem *button = stepButton(increment);
    press(button);
    QTRY_VERIFY(button->property("pressed").toBool());
    QTest::qWait(800);
    QTest::mouseRelease(f.window(), Qt::LeftButton, {}, f.centreOf(button));

    QCOMPARE(logged("setBright"), writes);
    QVERIFY(ScreenFixture::calls("beep 1") >= 2); // every repetition clicks, also at the limit
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
    QQuickItem *slider = itemsOf(m_brightness, "QQuickSlider").value(0);
    QVERIFY(slider);
    auto *handle = slider->property("handle").value<QQuickItem *>();
    QVERIFY(handle);
    QSignalSpy changes(m_brightness, &QSP::CardBrightness::brightnessValueChanged);
    QVERIFY(changes.isValid());
    PanelSimulator::clearCallLog();

    const QPoint start = f.centreOf(handle);
    const int end = qBound(0, qRound(slider->mapToScene(QPointF(slider->width() * towards, 0)).x()),
                           f.window()->width() - 1);
    press(handle);
    QTRY_VERIFY(slider->property("pressed").toBool());
    for (int step = 1; step <= 12; ++step)
        QTest::mouseMove(f.window(), QPoint(start.x() + (end - start.x()) * step / 12, start.y()), 10);
    QTest::mouseRelease(f.window(), Qt::LeftButton, {}, QPoint(end, start.y()));

    // One click on touching, every change applied at once in the direction of the drag, saved on release.
    QCOMPARE(ScreenFixture::calls("beep 1"), 1);
    QStringList writes = logged("setBright");
    QVERIFY(changes.count() >= 2);
    QCOMPARE(writes.size(), changes.count() + 1);
    QCOMPARE(writes.takeLast(), QStringLiteral("setBright %1 1").arg(level));
    QCOMPARE(writes.last(), QStringLiteral("setBright %1 0").arg(level));
    int previous = from;
    for (const QString &write : writes) {
        const int written = write.section(QLatin1Char(' '), 1, 1).toInt();
        QVERIFY2(level > from ? written > previous : written < previous, qPrintable(writes.join(u',')));
        previous = written;
    }
    QVERIFY(ScreenFixture::findText(m_brightness, QString::number(level)));
}

void tst_GeneralPage::buzzerSwitch_data()
{
    QTest::addColumn<bool>("initiallyOn");
    QTest::addColumn<int>("beeps");
    QTest::newRow("off: the last click") << true << 1;
    QTest::newRow("on: silent") << false << 0;
}

void tst_GeneralPage::buzzerSwitch()
{
    QFETCH(bool, initiallyOn);
    QFETCH(int, beeps);
    // Changed by another program while the screen is closed: each opening shows the panel's state.
    QQuickItem *toggle = switchItem();
    for (bool on : {!initiallyOn, initiallyOn}) {
        f.close();
        QVERIFY(PanelSimulator::loadStateJson(on ? R"({"buzzer": true})" : R"({"buzzer": false})"));
        f.open();
        QCOMPARE(toggle->property("on").toBool(), on);
    }

    std::atomic<int> guiThreadWrites{0};
    PanelSimulator::setCallObserver(
        [&guiThreadWrites, gui = QThread::currentThread()](const std::string &line) {
            if (line.rfind("setBuzzerOn", 0) == 0 && QThread::currentThread() == gui)
                ++guiThreadWrites;
        });
    PanelSimulator::clearCallLog();
    QVERIFY(f.clickButton(toggle));
    PanelSimulator::setCallObserver({});

    QCOMPARE(ScreenFixture::calls("beep"), beeps);
    QCOMPARE(logged("setBuzzerOn"), QStringList(QStringLiteral("setBuzzerOn %1").arg(int(!initiallyOn))));
    QCOMPARE(guiThreadWrites.load(), 0);
    QCOMPARE(toggle->property("on").toBool(), !initiallyOn);
    auto *track = toggle->property("background").value<QQuickRectangle *>();
    QVERIFY(track);
    QCOMPARE(track->color(), QColor(initiallyOn ? QStringLiteral("#C9CDD4") : QStringLiteral("#3482FF")));
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
    QVERIFY(f.clickButton(itemsOf(m_time, "QSP::BeepButton").value(0)));
    auto *popup = m_time->findChild<TimeEditPopup *>();
    QVERIFY(popup);
    QTRY_VERIFY(popup->isOpened());
    QCOMPARE(popup->x(), (f.root()->width() - popup->width()) / 2);
    QCOMPARE(popup->y(), (f.root()->height() - popup->height()) / 2);

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
    const QString before = m_time->currentDateTime();
    QTRY_VERIFY_WITH_TIMEOUT(m_time->currentDateTime() != before, 2500); // the clock runs

    QSignalSpy changed(m_time, &QSP::CardTime::currentDateTimeChanged);
    QVERIFY(changed.isValid());
    const QLocale chinese(QLocale::Chinese, QLocale::China);
    QSP::GlobalInfo::switchLanguage(chinese);
    QCOMPARE(changed.count(), 1); // at once, not at the next tick
    QStringList days;
    for (int day = Qt::Monday; day <= Qt::Sunday; ++day)
        days << chinese.dayName(day, QLocale::ShortFormat);
    QVERIFY2(days.contains(m_time->currentDateTime().section(QLatin1Char(' '), 1, 1)),
             qPrintable(m_time->currentDateTime()));
    QVERIFY(ScreenFixture::findText(m_time, QStringLiteral("日期与时间")));
    QVERIFY(ScreenFixture::findText(f.card(AppRootItem::Card_Buzzer), QStringLiteral("蜂鸣器")));

    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QVERIFY(lines({"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"})
                .contains(m_time->currentDateTime().section(QLatin1Char(' '), 1, 1)));
    QVERIFY(ScreenFixture::findText(m_time, QStringLiteral("Time")));
}

QTEST_MAIN(tst_GeneralPage)
#include "tst_generalpage.moc"
