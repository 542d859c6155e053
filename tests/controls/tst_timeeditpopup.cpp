#include "AppRootItem.h"
#include "BeepButton.h"
#include "ControlFixture.h"
#include "TimeEditPopup.h"

#include <cstdint>
#include <limits>

using QSP::TimeEditPopup;

namespace {

const QStringList FieldNames{QStringLiteral("year"), QStringLiteral("month"),  QStringLiteral("day"),
                             QStringLiteral("hour"), QStringLiteral("minute"), QStringLiteral("second")};

QDateTime local(int y, int mo, int d, int h, int mi, int s)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::LocalTime);
}

} // namespace

class tst_TimeEditPopup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(f.showWindow()); }
    void init();
    void cleanup();

    void layout_data();
    void layout();
    void fillsFields();
    void editing_data();
    void editing();
    void keyboard();
    void rootPopup();
    void translatesOk();
    void withKeyboard() { ControlFixture::rerunWithKeyboard(); }

private:
    TimeEditPopup *make()
    {
        return (m_popup = std::make_unique<TimeEditPopup>(f.window()->contentItem())).get();
    }
    bool open(const QDateTime &start = local(2024, 1, 31, 10, 20, 30));
    QQuickTextInput *field(const QString &name) const
    {
        return m_popup->findChild<QQuickTextInput *>(name + QLatin1String("Input"));
    }
    QString texts() const;
    /// Plays steps as ControlFixture::play() does; "touch:" takes a field's name or "ok".
    bool run(const QString &steps);

    ControlFixture f;
    std::unique_ptr<TimeEditPopup> m_popup;
};

void tst_TimeEditPopup::init()
{
    QSP::GlobalInfo::instance().setScreenWidth(800);
    QSP::GlobalInfo::instance().setScreenHeight(480);
    QVERIFY(ControlFixture::setBuzzer(true));
}

void tst_TimeEditPopup::cleanup()
{
    m_popup.reset();
}

bool tst_TimeEditPopup::open(const QDateTime &start)
{
    make()->setCurrentDateTime(start);
    m_popup->open();
    return QTest::qWaitFor([this] { return m_popup->isOpened(); });
}

QString tst_TimeEditPopup::texts() const
{
    QStringList texts;
    for (const QString &name : FieldNames)
        texts << field(name)->text();
    return texts.join(QLatin1Char(' '));
}

bool tst_TimeEditPopup::run(const QString &steps)
{
    return f.play(steps, [this](const QString &name) -> QQuickItem * {
        if (name == QLatin1String("ok"))
            return m_popup->confirmButton();
        return field(name);
    });
}

void tst_TimeEditPopup::layout_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("rootWidth"); // 0: no settings screen around the popup
    QTest::addColumn<double>("s");
    QTest::addColumn<int>("border");
    QTest::addColumn<QVector<int>>("fonts"); // field, separator, button

    using F = QVector<int>;
    QTest::newRow("800x480") << QSize(800, 480) << 0 << 0.98837209 << 1 << F{14, 17, 13};
    QTest::newRow("1024x600") << QSize(1024, 600) << 0 << 1.13860465 << 1 << F{19, 21, 17};
    QTest::newRow("1920x1080") << QSize(1920, 1080) << 0 << 1.89767442 << 2 << F{35, 40, 32};
    QTest::newRow("480x800") << QSize(480, 800) << 0 << 0.6 << 1 << F{15, 17, 13};
    QTest::newRow("800x1280") << QSize(800, 1280) << 0 << 1.0 << 1 << F{18, 21, 17};
    QTest::newRow("1920x1080, root 1280") << QSize(1920, 1080) << 1280 << 1.36 << 1 << F{35, 40, 32};
}

void tst_TimeEditPopup::layout()
{
    QFETCH(QSize, screen);
    QFETCH(int, rootWidth);
    QFETCH(double, s);
    QFETCH(QVector<int>, fonts);

    QSP::GlobalInfo::instance().setScreenWidth(screen.width());
    QSP::GlobalInfo::instance().setScreenHeight(screen.height());
    std::unique_ptr<QSP::AppRootItem> root(rootWidth > 0 ? new QSP::AppRootItem : nullptr);
    if (root)
        root->setWidth(rootWidth);
    make();
    const auto near = [s](qreal actual, qreal units) { return qAbs(actual - units * s) < 1e-4; };
    QVERIFY2(near(m_popup->width(), 672) && near(m_popup->height(), 76), qPrintable(QString::number(s)));
    auto *background = qobject_cast<QQuickRectangle *>(m_popup->background());
    QVERIFY(near(background->width(), 672) && near(background->height(), 76));
    QVERIFY(near(background->radius(), screen.width() < screen.height() ? 8 : 15));
    QTEST(int(background->border()->width()), "border");

    // The row in units of s: the year 85 wide at 20, five fields 60 wide up to 492, "OK" 80 wide at 572.
    QVERIFY(near(field(QStringLiteral("year"))->x(), 20) && near(field(QStringLiteral("year"))->width(), 85));
    QVERIFY(near(field(QStringLiteral("second"))->x(), 492) &&
            near(field(QStringLiteral("second"))->y(), 20));
    QSP::BeepButton *ok = m_popup->confirmButton();
    QVERIFY(near(ok->x(), 572) && near(ok->width(), 80) && near(ok->height(), 36));
    QCOMPARE(field(QStringLiteral("day"))->font().pixelSize(), fonts.at(0));
    QCOMPARE(m_popup->contentItem()->findChild<QQuickText *>()->font().pixelSize(),
             fonts.at(1)); // a separator
    QCOMPARE(qobject_cast<QQuickText *>(ok->contentItem())->font().pixelSize(), fonts.at(2));
}

void tst_TimeEditPopup::fillsFields()
{
    QVERIFY(open(local(2023, 1, 31, 1, 1, 1))); // the 31st, about to meet a February
    QSignalSpy changed(m_popup.get(), &TimeEditPopup::currentDateTimeChanged);
    QVERIFY(changed.isValid());
    m_popup->setCurrentDateTime(local(2024, 2, 29, 7, 8, 0));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(texts(), QStringLiteral("2024 02 29 07 08 00"));

    // The same value again emits nothing, but still refills what the user had typed.
    QVERIFY(run(QStringLiteral("touch:minute key:Del touch:hour type:1")));
    m_popup->setCurrentDateTime(local(2024, 2, 29, 7, 8, 0));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(texts(), QStringLiteral("2024 02 29 07 08 00"));
    m_popup->setCurrentDateTime(QDateTime());
    QCOMPARE(texts(), QString(5, QLatin1Char(' ')));
}

void tst_TimeEditPopup::editing_data()
{
    QTest::addColumn<QDateTime>("start");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("field"); // whose text is checked, if any
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("expected"); // the confirmed value; invalid: nothing confirmed
    QTest::addColumn<bool>("buzzer");

    const QDateTime start = local(2024, 1, 31, 10, 20, 30);
    const auto row = [&start](const char *name, const QString &steps, const char *field, const char *text,
                              const QDateTime &expected = QDateTime(), const QDateTime &from = QDateTime(),
                              bool buzzer = true) {
        QTest::newRow(name) << (from.isValid() ? from : start) << steps << QString::fromLatin1(field)
                            << QString::fromLatin1(text) << expected << buzzer;
    };
    const auto type = [&row](const char *name, const char *steps, const char *field, const char *text,
                             const QDateTime &from = QDateTime()) {
        row(name, QString::fromLatin1(steps), field, text, QDateTime(), from);
    };
    const auto confirm = [&row](const char *name, const QString &steps, const QDateTime &expected,
                                const QDateTime &from = QDateTime(),
                                bool buzzer = true) { row(name, steps, "", "", expected, from, buzzer); };
    // Each field takes only digits that can still make a valid value (typed over the selected value).
    type("year 2038", "touch:year type:2038", "year", "2038");
    type("year 2039: the 9 refused", "touch:year type:2039", "year", "203");
    type("year 1969: the 6 refused", "touch:year type:1969", "year", "199");
    type("year 3 refused, old value kept", "touch:year type:3", "year", "2024");
    type("year fifth digit, letters", "touch:year type:2a0b245", "year", "2024");
    type("month 13", "touch:month type:13", "month", "1");
    type("month 00, sign", "touch:month type:0-0", "month", "0");
    type("day 32", "touch:day type:32", "day", "3");
    type("day 09", "touch:day type:09", "day", "09");
    type("hour 24", "touch:hour type:24", "hour", "2");
    type("hour 123", "touch:hour type:123", "hour", "12");
    type("minute 60", "touch:minute type:60", "minute", "6");
    type("second 59 with colon", "touch:second type:5:9", "second", "59");
    // Editing keys; Escape and the keyboard's hide key end the editing, not the popup.
    type("Delete clears", "touch:month type:12 key:Del", "month", "");
    type("Clear clears", "touch:month type:12 key:Clear", "month", "");
    type("Backspace", "touch:month type:12 key:Backspace", "month", "1");
    type("Escape", "touch:month type:12 key:Esc", "month", "12");
    type("keyboard hide key", "touch:month type:12 key:Hide", "month", "12");
    // The day is emptied when the year and month typed so far leave no room for it.
    type("31, month 4", "touch:month type:4", "day", "");
    type("31, month 12", "touch:month type:12", "day", "31");
    type("29, month 02 in 2023", "touch:month type:02", "day", "", local(2023, 1, 29, 8, 0, 0));
    type("29 February, year 2023", "touch:year type:2023", "day", "", local(2024, 2, 29, 8, 0, 0));
    type("29 February, year 2000", "touch:year type:2000", "day", "29", local(2024, 2, 29, 8, 0, 0));
    type("month emptied", "touch:month key:Del", "day", "31");
    type("year being typed", "touch:year key:Del touch:month type:2", "day", "31");
    type("day typed after the month", "touch:month type:2 touch:day type:29", "day", "29");
    type("refused, then typed again", "touch:day type:0 key:Enter touch:day type:1", "day", "1");
    // "OK", or Return and Enter in a field, confirm a real date and time only.
    const QString edit = QStringLiteral("touch:year type:2030 touch:month type:12 touch:day type:24 "
                                        "touch:hour type:18 touch:minute type:5 touch:second type:09 ");
    const QDateTime edited = local(2030, 12, 24, 18, 5, 9);
    confirm("unchanged, OK", QStringLiteral("touch:ok"), start);
    confirm("unchanged, Return, buzzer off", QStringLiteral("touch:hour key:Return"), start, start, false);
    confirm("edited, OK", edit + QLatin1String("touch:ok"), edited);
    confirm("edited, Return", edit + QLatin1String("key:Return"), edited);
    confirm("edited, Enter", edit + QLatin1String("key:Enter"), edited);
    confirm("Return in the year", QStringLiteral("touch:year type:1999 key:Return"),
            local(1999, 1, 31, 10, 20, 30));
    confirm("29 February 2024", QStringLiteral("touch:month type:2 touch:day type:29 touch:ok"),
            local(2024, 2, 29, 10, 20, 30));
    confirm("midnight", QStringLiteral("touch:hour type:0 touch:minute type:0 touch:second type:0 touch:ok"),
            local(2024, 1, 31, 0, 0, 0));
    confirm("day cleared by the month", QStringLiteral("touch:month type:4 touch:ok"), QDateTime());
    confirm("31 April", QStringLiteral("touch:day type:31 key:Return"), QDateTime(),
            local(2024, 4, 10, 8, 0, 0));
    confirm("29 February 2023", QStringLiteral("touch:day type:29 touch:ok"), QDateTime(),
            local(2023, 2, 10, 8, 0, 0));
    confirm("day 0", QStringLiteral("touch:day type:0 key:Enter"), QDateTime());
    confirm("year cut short", QStringLiteral("touch:year type:203 key:Return"), QDateTime());
    confirm("hour empty", QStringLiteral("touch:hour key:Del touch:ok"), QDateTime());
    confirm("second empty", QStringLiteral("touch:second key:Del key:Return"), QDateTime());
    // The panel's clock holds seconds since 1970 in 32 bits: its last second is taken, the next one is not.
    const QDateTime last =
        QDateTime::fromSecsSinceEpoch(std::numeric_limits<std::int32_t>::max(), Qt::LocalTime);
    confirm("last second of the clock", QStringLiteral("touch:ok"), last, last);
    confirm("one second later", QStringLiteral("touch:ok"), QDateTime(), last.addSecs(1));
}

void tst_TimeEditPopup::editing()
{
    QFETCH(QDateTime, start);
    QFETCH(QString, steps);
    QFETCH(QString, field);
    QFETCH(QDateTime, expected);
    QFETCH(bool, buzzer);

    QVERIFY(open(start));
    QVERIFY(ControlFixture::setBuzzer(buzzer));
    QSignalSpy confirmed(m_popup.get(), &TimeEditPopup::dateTimeConfirmed);
    QSignalSpy changed(m_popup.get(), &TimeEditPopup::currentDateTimeChanged);
    QSignalSpy closed(m_popup.get(), &QQuickPopup::closed);
    QVERIFY(confirmed.isValid() && changed.isValid() && closed.isValid());
    QVERIFY(run(steps));
    // Every field touched beeps, and so does "OK"; Return and Enter are silent.
    QCOMPARE(ControlFixture::beeps(), buzzer ? steps.count(QLatin1String("touch:")) : 0);
    if (!field.isEmpty()) {
        QTEST(this->field(field)->text(), "text");
        // The field touched last keeps the focus, and the keyboard, until Escape or the hide key.
        const bool ended = steps.endsWith(QLatin1String("Esc")) || steps.endsWith(QLatin1String("Hide"));
        const QString touched =
            steps.mid(steps.lastIndexOf(QLatin1String("touch:")) + 6).section(QLatin1Char(' '), 0, 0);
        QCOMPARE(this->field(touched)->hasActiveFocus(), !ended);
        QVERIFY(!f.keyboard() || f.keyboard()->isVisible() == !ended);
    }
    if (!expected.isValid()) {
        QTest::qWait(50);
        QCOMPARE(confirmed.count() + changed.count() + closed.count(), 0);
        // A refused "OK", Return or Enter still puts the keyboard away.
        QVERIFY(!f.keyboard() || !field.isEmpty() || !f.keyboard()->isVisible());
        QVERIFY(m_popup->isVisible());
        QCOMPARE(m_popup->currentDateTime(), start);
        // A refusal says why, in red under the fields, until the user types again.
        const bool refused = steps.endsWith(QLatin1String("touch:ok")) ||
                             steps.endsWith(QLatin1String("Return")) ||
                             steps.endsWith(QLatin1String("Enter"));
        QCOMPARE(m_popup->refusalText()->isVisible(), refused);
        QCOMPARE(m_popup->refusalText()->text(), QStringLiteral("Invalid date"));
        return;
    }
    QTRY_COMPARE(closed.count(), 1);
    QCOMPARE(confirmed.count(), 1);
    QCOMPARE(confirmed.at(0).at(0).toDateTime(), expected);
    QCOMPARE(confirmed.at(0).at(0).toDateTime().timeSpec(), Qt::LocalTime);
    QCOMPARE(m_popup->currentDateTime(), expected);
    QCOMPARE(changed.count(), expected == start ? 0 : 1);
    QVERIFY(!f.keyboard() || !f.keyboard()->isVisible());
}

void tst_TimeEditPopup::keyboard()
{
    // In both runs the fields take the focus the same way; with a keyboard, it follows them.
    TestKeyboard *keyboard = f.keyboard();
    QSignalSpy shownOrHidden(&QSP::VkbManager::instance(), &QSP::VkbManager::visibleChanged);
    QVERIFY(shownOrHidden.isValid());
    QVERIFY(open());
    if (keyboard)
        keyboard->setLayoutType(VkbLayout_Full);
    QVERIFY(run(QStringLiteral("touch:year")));
    QTRY_VERIFY(f.keyboardShown(true));
    QVERIFY(!keyboard || keyboard->layoutType() == VkbLayout_DateTime);
    QCOMPARE(field(QStringLiteral("year"))->selectedText(), QStringLiteral("2024"));

    // From field to field the keyboard stays up.
    shownOrHidden.clear();
    QVERIFY(run(QStringLiteral("touch:second")));
    QCOMPARE(shownOrHidden.count(), 0);
    QCOMPARE(field(QStringLiteral("second"))->selectedText(), QStringLiteral("30"));

    // Closing without "OK" puts it away and takes the focus, so that the next opening brings it back on a
    // tap.
    m_popup->close();
    QTRY_VERIFY(f.keyboardShown(false));
    m_popup->open();
    QTRY_VERIFY(m_popup->isOpened());
    QVERIFY(!field(QStringLiteral("second"))->hasActiveFocus());
    QVERIFY(run(QStringLiteral("touch:second")));
    QTRY_VERIFY(f.keyboardShown(true));
}

void tst_TimeEditPopup::rootPopup()
{
    QVERIFY(f.checkRootPopup([this] { return make(); }));
}

void tst_TimeEditPopup::translatesOk()
{
    auto *label = qobject_cast<QQuickText *>(make()->confirmButton()->contentItem());
    QVERIFY(label);
    QCOMPARE(label->text(), QStringLiteral("OK"));
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
    QCOMPARE(label->text(), QStringLiteral("确定"));
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QCOMPARE(label->text(), QStringLiteral("OK"));
}

QTEST_MAIN(tst_TimeEditPopup)
#include "tst_timeeditpopup.moc"
