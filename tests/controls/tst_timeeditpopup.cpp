#include "AppRootItem.h"
#include "BeepButton.h"
#include "GlobalInfo.h"
#include "MeyerSingleton.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"
#include "SystemSet.h"
#include "TimeEditPopup.h"
#include "VkbInterface.h"

#include <QProcess>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtTest>

#include <algorithm>
#include <memory>

using QSP::TimeEditPopup;

namespace {

/// Set for the second run of this program, which has no on-screen keyboard.
const char NoKeyboardVariable[] = "TST_TIMEEDITPOPUP_NO_KEYBOARD";
constexpr int VkbHideKey = 0x00100000;

/// An on-screen keyboard that only records what it is asked to do.
class FakeKeyboard : public VkbInterface
{
public:
    void init(QQuickWindow *, int) override {}
    QQuickPopup *popup() override { return nullptr; }
    QQuickItem *keyboardItem() override { return nullptr; }
    void setVisible(bool visible) override
    {
        hides += m_visible && !visible;
        m_visible = visible;
    }
    void setPosition(const QPointF &) override {}
    void setLayoutType(VkbLayoutType type) override { m_layout = type; }
    VkbLayoutType layoutType() const override { return m_layout; }
    bool isVisible() const override { return m_visible; }

    int hides = 0;

private:
    bool m_visible = false;
    VkbLayoutType m_layout = VkbLayout_Full;
};

FakeKeyboard g_keyboard;

bool hasKeyboard()
{
    return QVkbPluginLoader::instance()->vkb() != nullptr;
}

int beepCount()
{
    const auto log = HMI::PanelSimulator::callLog();
    return int(std::count(log.cbegin(), log.cend(), std::string("beep 1")));
}

TimeEditPopup::InputType fieldType(const QString &name)
{
    const QMetaEnum types = QMetaEnum::fromType<TimeEditPopup::InputType>();
    bool ok = false;
    const int type = types.keyToValue(qPrintable(name.left(1).toUpper() + name.mid(1)), &ok);
    Q_ASSERT(ok);
    return TimeEditPopup::InputType(type);
}

QDateTime local(int y, int mo, int d, int h, int mi, int s)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::LocalTime);
}

} // namespace

class tst_TimeEditPopup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void fillsFields();
    void scale_data();
    void scale();
    void validators_data();
    void validators();
    void editingKeys_data();
    void editingKeys();
    void dayRecheck_data();
    void dayRecheck();
    void confirm_data();
    void confirm();
    void keyboard();
    void beep_data();
    void beep();
    void closesWithRootItem();
    void translatesOk();
    void withoutKeyboard();

private:
    bool openPopup(const QDateTime &start = local(2024, 1, 31, 10, 20, 30));
    QQuickTextInput *field(TimeEditPopup::InputType type) const { return m_popup->inputField(type); }
    void tap(QQuickItem *item);
    /// Taps a field as the user would; true when it took the focus.
    bool tapField(TimeEditPopup::InputType type);
    /// Runs space-separated steps: "field=keys" taps the field and types the keys ("del": the Delete key),
    /// "ok" taps "OK", "return" and "enter" press that key in the focused field.
    bool run(const QString &steps);

    std::unique_ptr<QQuickWindow> m_window;
    TimeEditPopup *m_popup = nullptr; ///< owned by the window's content item
};

void tst_TimeEditPopup::initTestCase()
{
    if (!qEnvironmentVariableIsSet(NoKeyboardVariable))
        QVkbPluginLoader::instance()->setVkb(&g_keyboard);
}

void tst_TimeEditPopup::init()
{
    QSP::GlobalInfo::instance().setScreenWidth(800);
    QSP::GlobalInfo::instance().setScreenHeight(480);
    MeyerSingleton<HMI::SystemSet>::instance().setBuzzerOn(true);
    g_keyboard.setVisible(false);
    g_keyboard.setLayoutType(VkbLayout_Full);
    g_keyboard.hides = 0;
}

void tst_TimeEditPopup::cleanup()
{
    m_popup = nullptr;
    m_window.reset();
}

bool tst_TimeEditPopup::openPopup(const QDateTime &start)
{
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(800, 480);
    m_window->show();
    if (!QTest::qWaitForWindowExposed(m_window.get()))
        return false;
    m_popup = new TimeEditPopup(m_window->contentItem());
    m_popup->setCurrentDateTime(start);
    m_popup->open();
    return QTest::qWaitFor([this] { return m_popup->isOpened(); });
}

void tst_TimeEditPopup::tap(QQuickItem *item)
{
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(m_window.get(), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
}

bool tst_TimeEditPopup::tapField(TimeEditPopup::InputType type)
{
    tap(field(type));
    return field(type)->hasActiveFocus();
}

bool tst_TimeEditPopup::run(const QString &steps)
{
    const QStringList list = steps.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString &step : list) {
        if (step == QLatin1String("ok")) {
            tap(m_popup->confirmButton());
        } else if (step == QLatin1String("return") || step == QLatin1String("enter")) {
            if (!qobject_cast<QQuickTextInput *>(m_window->activeFocusItem()))
                return false;
            QTest::keyClick(m_window.get(), step == QLatin1String("return") ? Qt::Key_Return : Qt::Key_Enter);
        } else {
            const QString keys = step.section(QLatin1Char('='), 1);
            if (!tapField(fieldType(step.section(QLatin1Char('='), 0, 0))))
                return false;
            if (keys == QLatin1String("del"))
                QTest::keyClick(m_window.get(), Qt::Key_Delete);
            else
                for (const QChar c : keys)
                    QTest::keyClick(m_window.get(), c.toLatin1());
        }
    }
    return true;
}

void tst_TimeEditPopup::fillsFields()
{
    QVERIFY(openPopup(local(2023, 1, 31, 1, 1, 1))); // the 31st, about to meet a February
    QSignalSpy changed(m_popup, &TimeEditPopup::currentDateTimeChanged);
    QVERIFY(changed.isValid());
    const QStringList expected{QStringLiteral("2024"), QStringLiteral("02"), QStringLiteral("29"),
                               QStringLiteral("07"),   QStringLiteral("08"), QStringLiteral("00")};
    const auto texts = [this] {
        QStringList list;
        for (int type = TimeEditPopup::Year; type <= TimeEditPopup::Second; ++type)
            list << field(TimeEditPopup::InputType(type))->text();
        return list;
    };

    m_popup->setCurrentDateTime(local(2024, 2, 29, 7, 8, 0));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(texts(), expected);

    // The same value again emits nothing, but still refills what the user had typed.
    QVERIFY(run(QStringLiteral("minute=del hour=1")));
    m_popup->setCurrentDateTime(local(2024, 2, 29, 7, 8, 0));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(texts(), expected);

    m_popup->setCurrentDateTime(QDateTime());
    QCOMPARE(texts(), QStringList(QVector<QString>(6).toList()));
}

void tst_TimeEditPopup::scale_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("rootWidth"); // 0: no settings screen around the popup
    QTest::addColumn<double>("s");
    QTest::addColumn<int>("border");
    QTest::addColumn<QVector<int>>("fonts"); // field, separator, button

    using F = QVector<int>;
    QTest::newRow("800x480") << QSize(800, 480) << 0 << 0.98837209 << 1 << F{14, 17, 13};
    QTest::newRow("1024x600") << QSize(1024, 600) << 0 << 1.13860465 << 1 << F{19, 21, 17};
    QTest::newRow("1280x800") << QSize(1280, 800) << 0 << 1.34418605 << 1 << F{23, 27, 21};
    QTest::newRow("1920x1080") << QSize(1920, 1080) << 0 << 1.89767442 << 2 << F{35, 40, 32};
    QTest::newRow("480x800") << QSize(480, 800) << 0 << 0.6 << 1 << F{15, 17, 13};
    QTest::newRow("600x1024") << QSize(600, 1024) << 0 << 0.75 << 1 << F{18, 21, 17};
    QTest::newRow("800x1280") << QSize(800, 1280) << 0 << 1.0 << 1 << F{18, 21, 17};
    QTest::newRow("1024x600, root 800") << QSize(1024, 600) << 800 << 1.0 << 1 << F{19, 21, 17};
    QTest::newRow("1920x1080, root 1280") << QSize(1920, 1080) << 1280 << 1.36 << 1 << F{35, 40, 32};
}

void tst_TimeEditPopup::scale()
{
    QFETCH(QSize, screen);
    QFETCH(int, rootWidth);
    QFETCH(double, s);
    QFETCH(int, border);
    QFETCH(QVector<int>, fonts);

    QSP::GlobalInfo::instance().setScreenWidth(screen.width());
    QSP::GlobalInfo::instance().setScreenHeight(screen.height());
    std::unique_ptr<QSP::AppRootItem> root;
    if (rootWidth > 0) {
        root = std::make_unique<QSP::AppRootItem>();
        root->setWidth(rootWidth);
    }
    QVERIFY(openPopup());
    const auto near = [s](qreal actual, qreal units) { return qAbs(actual - units * s) < 1e-4; };

    QCOMPARE(m_popup->z(), qreal(QSP::GlobalInfo::instance().rootPopupZ()));
    QVERIFY2(near(m_popup->width(), 672), qPrintable(QString::number(m_popup->width())));
    QVERIFY(near(m_popup->height(), 76));
    auto *background = qobject_cast<QQuickRectangle *>(m_popup->background());
    QVERIFY(background);
    QVERIFY(near(background->width(), 672) && near(background->height(), 76));
    QVERIFY(near(background->radius(), screen.width() < screen.height() ? 8 : 15));
    QCOMPARE(background->border()->width(), qreal(border));
    QCOMPARE(background->border()->color(), QColor(QStringLiteral("#C8CDD2")));

    // Along the row, in units of s: left edges and widths of the fields, then the separators.
    const qreal fieldX[] = {20, 133, 221, 316, 404, 492};
    for (int type = TimeEditPopup::Year; type <= TimeEditPopup::Second; ++type) {
        const QQuickTextInput *input = field(TimeEditPopup::InputType(type));
        QVERIFY2(near(input->x(), fieldX[type]) && near(input->y(), 20), qPrintable(input->objectName()));
        QVERIFY(near(input->width(), type == TimeEditPopup::Year ? 85 : 60) && near(input->height(), 36));
        QCOMPARE(input->font().pixelSize(), fonts.at(0));
    }
    QStringList separators;
    const qreal separatorX[] = {113, 201, 384, 472};
    for (QQuickItem *child : m_popup->contentItem()->childItems()) {
        if (auto *text = qobject_cast<QQuickText *>(child)) {
            QVERIFY(separators.size() < 4 && near(text->x(), separatorX[separators.size()]));
            QCOMPARE(text->font().pixelSize(), fonts.at(1));
            separators << text->text();
        }
    }
    QCOMPARE(separators.join(QString()), QStringLiteral("//::"));

    QSP::BeepButton *ok = m_popup->confirmButton();
    QVERIFY(near(ok->x(), 572) && near(ok->y(), 20) && near(ok->width(), 80) && near(ok->height(), 36));
    QCOMPARE(qobject_cast<QQuickText *>(ok->contentItem())->font().pixelSize(), fonts.at(2));
}

void tst_TimeEditPopup::validators_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("keys"); // typed over the selected value
    QTest::addColumn<QString>("text");

    const auto row = [](const char *name, const char *field, const char *keys, const char *text) {
        QTest::newRow(name) << QString::fromLatin1(field) << QString::fromLatin1(keys)
                            << QString::fromLatin1(text);
    };
    row("year 2038", "year", "2038", "2038");
    row("year 2039: the 9 refused", "year", "2039", "203");
    row("year 1970", "year", "1970", "1970");
    row("year 1969: the 6 refused", "year", "1969", "199");
    row("year 2100: the 1 refused", "year", "2100", "200");
    row("year 3 refused, old value kept", "year", "3", "2024");
    row("year fifth digit", "year", "20245", "2024");
    row("year letters", "year", "2a0b", "20");
    row("month 12", "month", "12", "12");
    row("month 13", "month", "13", "1");
    row("month 09", "month", "09", "09");
    row("month 00", "month", "00", "0");
    row("month sign", "month", "-1", "1");
    row("day 31", "day", "31", "31");
    row("day 32", "day", "32", "3");
    row("day 00", "day", "00", "0");
    row("day 45", "day", "45", "4");
    row("hour 23", "hour", "23", "23");
    row("hour 24", "hour", "24", "2");
    row("hour 123", "hour", "123", "12");
    row("minute 59", "minute", "59", "59");
    row("minute 60", "minute", "60", "6");
    row("second 00", "second", "00", "00");
    row("second 75", "second", "75", "7");
    row("second with colon", "second", "5:9", "59");
}

void tst_TimeEditPopup::validators()
{
    QFETCH(QString, field);
    QFETCH(QString, keys);
    QFETCH(QString, text);

    QVERIFY(openPopup());
    QVERIFY(run(field + QLatin1Char('=') + keys));
    QCOMPARE(this->field(fieldType(field))->text(), text);
}

void tst_TimeEditPopup::editingKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("keepsFocus");

    QTest::newRow("Delete clears") << int(Qt::Key_Delete) << QString() << true;
    QTest::newRow("Clear clears") << int(Qt::Key_Clear) << QString() << true;
    QTest::newRow("Backspace") << int(Qt::Key_Backspace) << QStringLiteral("1") << true;
    QTest::newRow("Escape") << int(Qt::Key_Escape) << QStringLiteral("12") << false;
    QTest::newRow("keyboard hide key") << VkbHideKey << QStringLiteral("12") << false;
}

void tst_TimeEditPopup::editingKeys()
{
    QFETCH(int, key);
    QFETCH(QString, text);
    QFETCH(bool, keepsFocus);

    QVERIFY(openPopup());
    QSignalSpy confirmed(m_popup, &TimeEditPopup::dateTimeConfirmed);
    QVERIFY(confirmed.isValid());
    QVERIFY(run(QStringLiteral("month=12")));
    QTest::sendKeyEvent(QTest::Click, m_window.get(), Qt::Key(key), QString(), Qt::NoModifier);

    QCOMPARE(field(TimeEditPopup::Month)->text(), text);
    QCOMPARE(field(TimeEditPopup::Month)->hasActiveFocus(), keepsFocus);
    QVERIFY(m_popup->isVisible()); // Escape ends the editing, not the popup
    QCOMPARE(confirmed.count(), 0);
    if (hasKeyboard())
        QCOMPARE(g_keyboard.isVisible(), keepsFocus);
}

void tst_TimeEditPopup::dayRecheck_data()
{
    QTest::addColumn<QDateTime>("start");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("day");

    const auto row = [](const char *name, const QDateTime &start, const char *steps, const char *day) {
        QTest::newRow(name) << start << QString::fromLatin1(steps) << QString::fromLatin1(day);
    };
    const QDateTime jan31 = local(2024, 1, 31, 8, 0, 0);
    const QDateTime feb29 = local(2024, 2, 29, 8, 0, 0);
    row("31, month 4", jan31, "month=4", "");
    row("31, month 12", jan31, "month=12", "31");
    row("31, month 11", jan31, "month=11", "");
    row("29, month 02 in 2024", local(2024, 1, 29, 8, 0, 0), "month=02", "29");
    row("29, month 02 in 2023", local(2023, 1, 29, 8, 0, 0), "month=02", "");
    row("29 February, year 2023", feb29, "year=2023", "");
    row("29 February, year 2028", feb29, "year=2028", "29");
    row("29 February, year 2000", feb29, "year=2000", "29");
    row("month emptied", jan31, "month=del", "31");
    row("month 0", jan31, "month=0", "31");
    row("year empty, month typed", jan31, "year=del month=2", "31");
    row("year emptied and refilled", feb29, "year=del year=2025", "");
    row("day typed after the month", local(2024, 4, 10, 8, 0, 0), "day=31", "31");
    row("day typed again", jan31, "month=2 day=29", "29");
}

void tst_TimeEditPopup::dayRecheck()
{
    QFETCH(QDateTime, start);
    QFETCH(QString, steps);
    QFETCH(QString, day);

    QVERIFY(openPopup(start));
    QVERIFY(run(steps));
    QCOMPARE(field(TimeEditPopup::Day)->text(), day);
}

void tst_TimeEditPopup::confirm_data()
{
    QTest::addColumn<QDateTime>("start");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QDateTime>("expected"); // invalid: refused

    const QDateTime start = local(2024, 1, 31, 10, 20, 30);
    const QString edit = QStringLiteral("year=2030 month=12 day=24 hour=18 minute=5 second=09 ");
    const QDateTime edited = local(2030, 12, 24, 18, 5, 9);
    QTest::newRow("unchanged, OK") << start << "ok" << start;
    QTest::newRow("unchanged, Return") << start << "hour= return" << start;
    QTest::newRow("edited, OK") << start << edit + QLatin1String("ok") << edited;
    QTest::newRow("edited, Return") << start << edit + QLatin1String("return") << edited;
    QTest::newRow("edited, Enter") << start << edit + QLatin1String("enter") << edited;
    QTest::newRow("Return in the year") << start << "year=1999 return" << local(1999, 1, 31, 10, 20, 30);
    QTest::newRow("29 February 2024") << start << "month=2 day=29 ok" << local(2024, 2, 29, 10, 20, 30);
    QTest::newRow("midnight") << start << "hour=0 minute=0 second=0 ok" << local(2024, 1, 31, 0, 0, 0);
    const QDateTime refused;
    QTest::newRow("day cleared by the month") << start << "month=4 ok" << refused;
    QTest::newRow("31 April") << local(2024, 4, 10, 8, 0, 0) << "day=31 return" << refused;
    QTest::newRow("29 February 2023") << local(2023, 2, 10, 8, 0, 0) << "day=29 ok" << refused;
    QTest::newRow("day 0") << start << "day=0 enter" << refused;
    QTest::newRow("month 0") << start << "month=0 ok" << refused;
    QTest::newRow("year empty") << start << "year=del month=2 ok" << refused;
    QTest::newRow("year cut short") << start << "year=203 return" << refused;
    QTest::newRow("hour empty") << start << "hour=del ok" << refused;
    QTest::newRow("second empty") << start << "second=del return" << refused;
}

void tst_TimeEditPopup::confirm()
{
    QFETCH(QDateTime, start);
    QFETCH(QString, steps);
    QFETCH(QDateTime, expected);

    QVERIFY(openPopup(start));
    QSignalSpy confirmed(m_popup, &TimeEditPopup::dateTimeConfirmed);
    QSignalSpy changed(m_popup, &TimeEditPopup::currentDateTimeChanged);
    QSignalSpy closed(m_popup, &QQuickPopup::closed);
    QVERIFY(confirmed.isValid() && changed.isValid() && closed.isValid());
    QVERIFY(run(steps));

    if (!expected.isValid()) {
        QTest::qWait(50);
        QCOMPARE(confirmed.count() + changed.count() + closed.count(), 0);
        QVERIFY(m_popup->isVisible());
        QCOMPARE(m_popup->currentDateTime(), start);
        return;
    }
    QTRY_COMPARE(closed.count(), 1);
    QCOMPARE(confirmed.count(), 1);
    const QDateTime value = confirmed.at(0).at(0).toDateTime();
    QCOMPARE(value, expected);
    QCOMPARE(value.timeSpec(), Qt::LocalTime);
    QCOMPARE(m_popup->currentDateTime(), expected);
    QCOMPARE(changed.count(), expected == start ? 0 : 1);
    if (hasKeyboard())
        QVERIFY(!g_keyboard.isVisible());
}

void tst_TimeEditPopup::keyboard()
{
    if (!hasKeyboard())
        QSKIP("needs the test keyboard");
    QVERIFY(openPopup());
    QVERIFY(!g_keyboard.isVisible());

    QVERIFY(tapField(TimeEditPopup::Year));
    QVERIFY(g_keyboard.isVisible());
    QCOMPARE(g_keyboard.layoutType(), VkbLayout_DateTime);
    QCOMPARE(field(TimeEditPopup::Year)->selectedText(), QStringLiteral("2024"));

    // From field to field the keyboard stays up.
    g_keyboard.setLayoutType(VkbLayout_Full);
    QVERIFY(tapField(TimeEditPopup::Second));
    QCOMPARE(g_keyboard.hides, 0);
    QCOMPARE(g_keyboard.layoutType(), VkbLayout_DateTime);
    QCOMPARE(field(TimeEditPopup::Second)->selectedText(), QStringLiteral("30"));

    // Closing without "OK" puts it away, and the next opening brings it back on a tap.
    m_popup->close();
    QTRY_VERIFY(!m_popup->isVisible());
    QCOMPARE(g_keyboard.hides, 1);
    QVERIFY(!field(TimeEditPopup::Second)->hasActiveFocus());
    m_popup->open();
    QTRY_VERIFY(m_popup->isOpened());
    QVERIFY(tapField(TimeEditPopup::Second));
    QVERIFY(g_keyboard.isVisible());

    // "OK" puts it away even when it refuses the value.
    QVERIFY(run(QStringLiteral("minute=del ok")));
    QVERIFY(!g_keyboard.isVisible());
    QVERIFY(m_popup->isVisible());
}

void tst_TimeEditPopup::beep_data()
{
    QTest::addColumn<bool>("buzzerOn");
    QTest::newRow("buzzer on") << true;
    QTest::newRow("buzzer off") << false;
}

void tst_TimeEditPopup::beep()
{
    QFETCH(bool, buzzerOn);

    MeyerSingleton<HMI::SystemSet>::instance().setBuzzerOn(buzzerOn);
    QVERIFY(openPopup());
    QSignalSpy confirmed(m_popup, &TimeEditPopup::dateTimeConfirmed);
    QVERIFY(confirmed.isValid());
    HMI::PanelSimulator::clearCallLog();

    QVERIFY(tapField(TimeEditPopup::Day));
    QCOMPARE(beepCount(), buzzerOn ? 1 : 0);
    QVERIFY(tapField(TimeEditPopup::Day)); // already focused: no second beep
    QCOMPARE(beepCount(), buzzerOn ? 1 : 0);
    QVERIFY(tapField(TimeEditPopup::Hour));
    QCOMPARE(beepCount(), buzzerOn ? 2 : 0);
    QVERIFY(run(QStringLiteral("ok")));
    QTRY_COMPARE(confirmed.count(), 1);
    QCOMPARE(beepCount(), buzzerOn ? 3 : 0);
}

void tst_TimeEditPopup::closesWithRootItem()
{
    auto root = std::make_unique<QSP::AppRootItem>();
    root->setSize(QSizeF(800, 480));
    QVERIFY(openPopup());
    QVERIFY(tapField(TimeEditPopup::Month));

    root->setVisible(false);
    QTRY_VERIFY(!m_popup->isVisible());
    QVERIFY(!field(TimeEditPopup::Month)->hasActiveFocus());
    if (hasKeyboard())
        QVERIFY(!g_keyboard.isVisible());

    root.reset(); // the popup outlives the root item
    m_popup->open();
    QTRY_VERIFY(m_popup->isOpened());
}

void tst_TimeEditPopup::translatesOk()
{
    QVERIFY(openPopup());
    auto *label = qobject_cast<QQuickText *>(m_popup->confirmButton()->contentItem());
    QVERIFY(label);
    QCOMPARE(label->text(), QStringLiteral("OK"));
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
    QCOMPARE(label->text(), QStringLiteral("确定"));
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QCOMPARE(label->text(), QStringLiteral("OK"));
}

void tst_TimeEditPopup::withoutKeyboard()
{
    if (!hasKeyboard())
        QSKIP("this is the run without a keyboard");
    // A keyboard is looked for once per process, so the run without one is a second process.
    QProcess second;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(NoKeyboardVariable), QStringLiteral("1"));
    second.setProcessEnvironment(env);
    second.setProcessChannelMode(QProcess::MergedChannels);
    second.start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("editingKeys"), QStringLiteral("confirm"), QStringLiteral("beep")});
    QVERIFY(second.waitForFinished(240000));
    QVERIFY2(second.exitStatus() == QProcess::NormalExit && second.exitCode() == 0,
             second.readAll().constData());
}

QTEST_MAIN(tst_TimeEditPopup)
#include "tst_timeeditpopup.moc"
