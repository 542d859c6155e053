#include "AppRootItem.h"
#include "BeepButton.h"
#include "CIpInput.h"
#include "CMacInput.h"
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

    void fitsOnScreen_data();
    void fitsOnScreen();
    void fillsFields();
    void editing_data();
    void editing();
    void keyboard_data();
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

void tst_TimeEditPopup::fitsOnScreen_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("rootWidth"); // 0: no settings screen around the popup
    for (const QSize screen : {QSize(800, 480), QSize(1024, 600), QSize(480, 800), QSize(800, 1280)})
        QTest::addRow("%dx%d", screen.width(), screen.height()) << screen << 0;
    QTest::newRow("1920x1080, root 1280") << QSize(1920, 1080) << 1280;
}

void tst_TimeEditPopup::fitsOnScreen()
{
    QFETCH(QSize, screen);
    QFETCH(int, rootWidth);
    QSP::GlobalInfo::instance().setScreenWidth(screen.width());
    QSP::GlobalInfo::instance().setScreenHeight(screen.height());
    std::unique_ptr<QSP::AppRootItem> root(rootWidth > 0 ? new QSP::AppRootItem : nullptr);
    if (root)
        root->setWidth(rootWidth);
    make();
    QVERIFY(m_popup->width() <= (root ? rootWidth : screen.width()));
    // The six fields and "OK" stand in one row inside the popup, left to right, none over another.
    QQuickItem *content = m_popup->contentItem();
    qreal left = 0;
    QList<QQuickItem *> row{m_popup->confirmButton()};
    for (const QString &name : FieldNames)
        row.insert(row.size() - 1, field(name));
    for (QQuickItem *item : row) {
        const QRectF r = content->mapRectFromItem(item, QRectF(0, 0, item->width(), item->height()));
        QVERIFY2(r.left() >= left && r.right() <= content->width() && r.top() >= 0 &&
                     r.bottom() <= content->height(),
                 qPrintable(item->objectName()));
        left = r.right();
        QVERIFY(item->property("font").value<QFont>().pixelSize() <= r.height());
    }
}

void tst_TimeEditPopup::fillsFields()
{
    QVERIFY(open(local(2023, 1, 31, 1, 1, 1))); // the 31st, about to meet a February
    QSignalSpy changed(m_popup.get(), &TimeEditPopup::currentDateTimeChanged);
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

void tst_TimeEditPopup::keyboard_data()
{
    // The address, MAC and time fields bring the keyboard alike; "touch:" takes ip0 to ip3 (an address's
    // numbers), next (the third number of another address), mac, or a field of the popup.
    QTest::addColumn<QString>("steps");
    QTest::addColumn<int>("layout"); // asked for by the first touch
    QTest::addColumn<bool>("shown"); // at the end
    QTest::addColumn<int>("showsAndHides");
    QTest::addColumn<int>("reports"); // addresses, MAC addresses and times reported

    const auto row = [](const char *name, const char *steps, int layout, bool shown, int changes,
                        int reports) {
        QTest::newRow(name) << QString::fromLatin1(steps) << layout << shown << changes << reports;
    };
    row("address: on to its next number, Return", "touch:ip0 type:10 touch:ip1 type:20 key:Return",
        VkbLayout_IPv4, false, 2, 1);
    row("address: on to another address", "touch:ip0 type:10 touch:next type:3", VkbLayout_IPv4, true, 1, 1);
    row("address: hide key cancels", "touch:ip3 type:9 key:Hide", VkbLayout_IPv4, false, 2, 0);
    row("MAC: Return", "touch:mac key:Return", VkbLayout_Full, false, 2, 1);
    row("MAC: Escape", "touch:mac key:Esc", VkbLayout_Full, false, 2, 0);
    row("MAC: hide key", "touch:mac key:Hide", VkbLayout_Full, false, 2, 0);
    row("time: field to field", "open touch:year touch:second", VkbLayout_DateTime, true, 1, 0);
    // Closing without "OK" takes the focus too, so that a tap after the next opening brings it back.
    row("time: closed and opened again", "open touch:second close open touch:second", VkbLayout_DateTime,
        true, 3, 0);
}

void tst_TimeEditPopup::keyboard()
{
    QFETCH(QString, steps);
    QFETCH(int, layout);
    TestKeyboard *keyboard = f.keyboard();
    if (keyboard)
        keyboard->setLayoutType(layout == VkbLayout_Full ? VkbLayout_Number : VkbLayout_Full);
    std::unique_ptr<QSP::CIpInput> ip(f.create<QSP::CIpInput>()), next(f.create<QSP::CIpInput>());
    std::unique_ptr<QSP::CMacInput> mac(f.create<QSP::CMacInput>());
    QVERIFY(ip && next && mac);
    ip->setIp(QStringLiteral("192.168.1.20"));
    next->setY(60);
    mac->setY(120);
    for (QQuickItem *control : std::initializer_list<QQuickItem *>{ip.get(), next.get(), mac.get()})
        control->setSize(QSizeF(300, 40));
    QHash<QString, QQuickItem *> items{
        {QStringLiteral("mac"), mac->property("input").value<QQuickTextInput *>()},
        {QStringLiteral("next"), next->property("ipi2").value<QQuickTextInput *>()}};
    for (int i = 0; i < 4; ++i)
        items[QStringLiteral("ip%1").arg(i)] =
            ip->property("ipi" + QByteArray::number(i)).value<QQuickTextInput *>();
    make()->setCurrentDateTime(local(2024, 1, 31, 10, 20, 30));
    QSignalSpy shownOrHidden(&QSP::VkbManager::instance(), &QSP::VkbManager::visibleChanged);
    QSignalSpy ipReports(ip.get(), &QSP::CIpInput::ipChangedByEdit);
    QSignalSpy macReports(mac.get(), &QSP::CMacInput::macChangedByEdit);
    QSignalSpy timeReports(m_popup.get(), &TimeEditPopup::dateTimeConfirmed);
    const auto find = [&](const QString &name) { return items.contains(name) ? items[name] : field(name); };
    for (const QString &step : steps.split(QLatin1Char(' '))) {
        if (step == QLatin1String("open") || step == QLatin1String("close")) {
            const bool open = step == QLatin1String("open");
            open ? m_popup->open() : m_popup->close();
            QTRY_COMPARE(m_popup->isOpened(), open);
        } else {
            QVERIFY2(f.play(step, find), qPrintable(step));
        }
    }
    QFETCH(bool, shown);
    QTRY_VERIFY(f.keyboardShown(shown));
    if (keyboard) {
        QCOMPARE(int(keyboard->layoutType()), layout);
        QTEST(shownOrHidden.count(), "showsAndHides");
    }
    QTEST(ipReports.count() + macReports.count() + timeReports.count(), "reports");
    f.focusElsewhere();
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
