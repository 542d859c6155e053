#include "BeepButton.h"
#include "CIpInput.h"
#include "CMacInput.h"
#include "ControlFixture.h"
#include "TimeEditPopup.h"

#include <QHostAddress>

#include <cstdint>
#include <limits>

using HMI::MAC;
using QSP::CIpInput;
using QSP::CMacInput;
using QSP::TimeEditPopup;

namespace {

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

const QString TimeFormat = QStringLiteral("yyyy-MM-dd hh:mm:ss");
const QStringList TimeFields = words("year month day hour minute second");
const QStringList IpFields = words("ip0 ip1 ip2 ip3");
/// The steps that end an editing: the field gives up the focus and the keyboard goes.
const QStringList EndSteps = words("key:Return key:Enter key:Esc key:Hide touch:ok close away");

QDateTime local(const QString &text)
{
    return QDateTime::fromString(text, TimeFormat);
}

} // namespace

/// The text fields: an address (CIpInput: four numbers), a MAC address (CMacInput: one field of six pairs)
/// and the time popup (six numbers and "OK"), edited as a person does; run again with a keyboard.
class tst_EditFields : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(f.showWindow()); }
    void init();
    void cleanup() { f.focusElsewhere(); }

    void editing_data();
    void editing();
    void setIp_data();
    void setIp();
    void declared();
    void disabled_data();
    void disabled();
    void timeFillsFields();
    void timePopupOfTheScreen();
    void withKeyboard() { ControlFixture::rerunWithKeyboard(); }

private:
    /// "ip0" to "ip3": the address's numbers; "mac"; a time
    /// field's name, or "ok".
    QQuickItem *find(const QString &name) const;
    QQuickTextInput *input(const QString &name) const { return qobject_cast<QQuickTextInput *>(find(name)); }
    enum Kind { Ip, Mac, Time };
    /// The texts of the address, the MAC address or the time popup.
    QString shown(Kind kind) const;
    /// Plays steps separated by spaces: "touch:NAME" clicks a field (false when it takes no focus) or "OK",
    /// "type:TEXT" types, "key:NAME" presses a key named as in QKeySequence ("Hide": the keyboard's hide
    /// key), "open" and "close" open and close the time popup, "away" takes the focus elsewhere.
    bool run(const QString &steps);
    void openPopup(const QDateTime &start);

    ControlFixture f;
    std::unique_ptr<CIpInput> m_ip;
    std::unique_ptr<CMacInput> m_mac;
    std::unique_ptr<TimeEditPopup> m_popup;
};

void tst_EditFields::init()
{
    QVERIFY(ControlFixture::setBuzzer(true));
    m_ip.reset(f.create<CIpInput>());
    m_mac.reset(f.create<CMacInput>());
    m_popup = std::make_unique<TimeEditPopup>(f.window()->contentItem());
    QVERIFY(m_ip && m_mac);
    m_ip->setPosition(QPointF(20, 20));
    m_mac->setPosition(QPointF(20, 140));
    m_mac->setSize(QSizeF(300, 40));
    m_ip->setHeight(40);
    m_popup->setY(200);
    m_ip->setIp(QStringLiteral("192.168.1.20"));
    m_mac->setMac(MAC{{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}});
}

QQuickItem *tst_EditFields::find(const QString &name) const
{
    if (name.startsWith(QLatin1String("ip")))
        return m_ip->property(name.toLatin1().replace("ip", "ipi").constData()).value<QQuickTextInput *>();
    if (name == QLatin1String("mac"))
        return m_mac->property("input").value<QQuickTextInput *>();
    if (name == QLatin1String("ok"))
        return m_popup->confirmButton();
    return m_popup->findChild<QQuickTextInput *>(name + QLatin1String("Input"));
}

QString tst_EditFields::shown(Kind kind) const
{
    QStringList texts;
    for (const QString &name : kind == Ip ? IpFields : kind == Mac ? words("mac") : TimeFields)
        texts << input(name)->text();
    return texts.join(QLatin1Char(kind == Ip ? '.' : ' '));
}

bool tst_EditFields::run(const QString &steps)
{
    for (const QString &step : steps.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString argument = step.section(QLatin1Char(':'), 1);
        if (step.startsWith(QLatin1String("touch:"))) {
            QQuickItem *item = find(argument);
            ControlFixture::click(item);
            if (item->inherits("QQuickTextInput") && !item->hasActiveFocus())
                return false;
        } else if (step.startsWith(QLatin1String("type:"))) {
            for (const QChar c : argument)
                QTest::keyClick(f.window(), c.toLatin1());
        } else if (step.startsWith(QLatin1String("key:"))) {
            // 0x100000: the on-screen keyboard's hide key, which Qt has no name for.
            const int key =
                argument == QLatin1String("Hide") ? 0x100000 : QKeySequence::fromString(argument)[0];
            QTest::sendKeyEvent(QTest::Click, f.window(), Qt::Key(key), QString(), Qt::NoModifier);
        } else if (step == QLatin1String("away")) {
            f.focusElsewhere();
        } else {
            const bool open = step == QLatin1String("open");
            open ? m_popup->open() : m_popup->close();
            if (!QTest::qWaitFor([&] { return m_popup->isOpened() == open; }))
                return false;
        }
    }
    return true;
}

void tst_EditFields::openPopup(const QDateTime &start)
{
    m_popup->setCurrentDateTime(start);
    m_popup->open();
    QTRY_VERIFY(m_popup->isOpened());
}

void tst_EditFields::editing_data()
{
    QTest::addColumn<QString>("steps");  // the first touches the control edited
    QTest::addColumn<QString>("start");  // the address or time set before; empty: the usual one; "-": cleared
    QTest::addColumn<QString>("shown");  // what the control's fields show at the end; empty: not checked
    QTest::addColumn<QString>("report"); // what the control reported, comma-separated
    QTest::addColumn<bool>("buzzer");

    const auto row = [](const char *name, const QByteArray &steps, const char *shown,
                        const QByteArray &report, const QByteArray &start = QByteArray(),
                        bool buzzer = true) {
        QTest::newRow(name) << QString::fromLatin1(steps) << QString::fromLatin1(start)
                            << QString::fromLatin1(shown) << QString::fromLatin1(report) << buzzer;
    };
    // An address's numbers take 0 to 255; leaving the address reports it once when it changed.
    row("ip: four numbers, one report, Enter",
        "touch:ip0 type:10 touch:ip1 type:0 touch:ip2 type:0 touch:ip3 type:1 key:Enter", "10.0.0.1",
        "10.0.0.1");
    row("ip: leading zero dropped", "touch:ip0 type:010 key:Return", "10.168.1.20", "10.168.1.20");
    row("ip: letters, signs and 256 refused", "touch:ip3 type:a2.-5x6 key:Return", "192.168.1.25",
        "192.168.1.25");
    row("ip: Clear key, emptied becomes 0", "touch:ip2 key:Clear key:Return", "192.168.0.20", "192.168.0.20");
    row("ip: hide key restores", "touch:ip3 type:9 key:Hide", "192.168.1.20", "");
    row("ip: Escape in the second number keeps the first", "touch:ip0 type:10 touch:ip1 type:99 key:Esc",
        "10.168.1.20", "10.168.1.20");
    row("ip: on to another field", "touch:ip0 type:10 touch:mac", "10.168.1.20", "10.168.1.20");
    row("ip: untouched leading zero is decimal", "touch:ip3 type:9 key:Return", "010.0.0.9", "10.0.0.9",
        "010.0.0.1");
    row("ip: cleared, zeros confirmed", "touch:ip1 key:Return", "0.0.0.0", "0.0.0.0", "-");
    row("ip: buzzer off", "touch:ip0 touch:ip3 key:Esc", "192.168.1.20", "", "", false);
    // A MAC address is reported when Return or Enter confirm six whole pairs; else the old one comes back.
    const char *const mac = "12:34:56:78:9A:BC";
    row("mac: new address, Return", "touch:mac key:Home type:001a2b3c4d5e key:Return", "00:1a:2b:3c:4d:5e",
        "00:1A:2B:3C:4D:5E");
    row("mac: part typed, Enter", "touch:mac key:Home type:AABBCC key:Enter", "AA:BB:CC:78:9A:BC",
        "AA:BB:CC:78:9A:BC");
    row("mac: unchanged, Return, buzzer off", "touch:mac key:Return", mac, mac, "", false);
    row("mac: non-hexadecimal refused", "touch:mac key:Home type:g-z: key:Return", mac, mac);
    row("mac: Escape restores", "touch:mac key:Home type:ffff key:Esc", mac, "");
    row("mac: hide key restores", "touch:mac key:Home type:ffff key:Hide", mac, "");
    row("mac: unfinished, Return", "touch:mac key:End key:Backspace key:Backspace key:Return", mac, "");
    row("mac: unfinished, focus taken", "touch:mac key:End key:Backspace key:Backspace away", mac, "");
    // The time from 2024-01-31 10:20:30. Each field takes only digits that can still make a valid value,
    // typed over the selected value.
    row("year 2038", "touch:year type:2038", "2038 01 31 10 20 30", "");
    row("refused: 2039, 13, 32, 24, a third digit, 60",
        "touch:year type:2039 touch:month type:13 touch:day type:32 touch:hour type:2412 touch:minute "
        "type:60",
        "203 1 3 21 6 30", "");
    row("refused: 1969, 00, signs; taken: 09, 59",
        "touch:year type:1969 touch:month type:0-0 touch:day type:09 touch:second type:5:9",
        "199 0 09 10 20 59", "");
    row("year: 3 first, letters, a fifth digit", "touch:year type:32a0b245", "2024 01 31 10 20 30", "");
    // Editing keys; Escape and the keyboard's hide key end the editing, not the popup.
    row("Delete and Clear", "touch:month type:12 key:Del touch:day key:Clear", "2024   10 20 30", "");
    row("Escape", "touch:month type:12 key:Esc", "2024 12 31 10 20 30", "");
    row("keyboard hide key", "touch:month type:12 key:Hide", "2024 12 31 10 20 30", "");
    row("closed and opened again", "touch:second close open touch:second", "", "");
    // The day is emptied when the year and month typed so far leave no room for it.
    row("31, month 4", "touch:month type:4", "2024 4  10 20 30", "");
    row("31, month 12", "touch:month type:12", "2024 12 31 10 20 30", "");
    row("29, month 02 in 2023", "touch:month type:02", "2023 02  08 00 00", "", "2023-01-29 08:00:00");
    row("29 February, year 2023", "touch:year type:2023", "2023 02  08 00 00", "", "2024-02-29 08:00:00");
    row("29 February, year 2000", "touch:year type:2000", "2000 02 29 08 00 00", "", "2024-02-29 08:00:00");
    row("year being typed", "touch:year key:Del touch:month type:2", " 2 31 10 20 30", "");
    row("day typed after the month", "touch:month type:2 touch:day type:29", "2024 2 29 10 20 30", "");
    row("refused, then typed again", "touch:day type:0 key:Enter touch:day type:1", "2024 01 1 10 20 30", "");
    // "OK", or Return and Enter in a field, confirm a real date and time only.
    const QByteArray start = "2024-01-31 10:20:30";
    row("unchanged, OK", "touch:ok", "2024 01 31 10 20 30", start);
    row("unchanged, Return, buzzer off", "touch:hour key:Return", "", start, start, false);
    row("Enter in the year", "touch:year type:1999 key:Enter", "", "1999-01-31 10:20:30");
    row("29 February 2024", "touch:month type:2 touch:day type:29 touch:ok", "", "2024-02-29 10:20:30");
    row("midnight", "touch:hour type:0 touch:minute type:0 touch:second type:0 touch:ok", "",
        "2024-01-31 00:00:00");
    row("day cleared by the month", "touch:month type:4 touch:ok", "", "");
    row("31 April", "touch:day type:31 key:Return", "", "", "2024-04-10 08:00:00");
    row("29 February 2023", "touch:day type:29 touch:ok", "", "", "2023-02-10 08:00:00");
    row("day 0", "touch:day type:0 key:Enter", "", "");
    row("year cut short", "touch:year type:203 key:Return", "", "");
    row("hour empty", "touch:hour key:Del touch:ok", "", "");
    // The panel's clock holds seconds since 1970 in 32 bits: its last second is taken, the next one is not.
    const QDateTime last =
        QDateTime::fromSecsSinceEpoch(std::numeric_limits<std::int32_t>::max(), Qt::LocalTime);
    row("last second of the clock", "touch:ok", "", last.toString(TimeFormat).toLatin1(),
        last.toString(TimeFormat).toLatin1());
    row("one second later", "touch:ok", "", "", last.addSecs(1).toString(TimeFormat).toLatin1());
}

void tst_EditFields::editing()
{
    QFETCH(QString, steps);
    QFETCH(QString, start);
    QFETCH(QString, shown);
    QFETCH(QString, report);
    QFETCH(bool, buzzer);
    const QString first = steps.section(QLatin1Char(' '), 0, 0);
    const Kind kind = first.startsWith(QLatin1String("touch:ip")) ? Ip
                      : first == QLatin1String("touch:mac")       ? Mac
                                                                  : Time;
    const QDateTime startTime = local(start.isEmpty() ? QStringLiteral("2024-01-31 10:20:30") : start);
    if (kind == Time)
        openPopup(startTime);
    else if (start == QLatin1String("-"))
        m_ip->clear();
    else if (!start.isEmpty())
        m_ip->setIp(start);
    if (f.keyboard())
        f.keyboard()->setLayoutType(VkbLayout_Number);
    QStringList reports;
    QObject context;
    connect(m_ip.get(), &CIpInput::ipChangedByEdit, &context,
            [&](quint32 ip) { reports << QHostAddress(ip).toString(); });
    connect(m_mac.get(), &CMacInput::macChangedByEdit, &context,
            [&](const MAC &mac) { reports << CMacInput::formatMac(mac); });
    connect(m_popup.get(), &TimeEditPopup::dateTimeConfirmed, &context,
            [&](const QDateTime &time) { reports << time.toString(TimeFormat); });
    QSignalSpy timeChanged(m_popup.get(), &TimeEditPopup::currentDateTimeChanged);
    QSignalSpy keyboardShownOrHidden(&QSP::VkbManager::instance(), &QSP::VkbManager::visibleChanged);
    QVERIFY(ControlFixture::setBuzzer(buzzer));

    QVERIFY(run(steps));
    // A touch on a field starts an editing unless one is under way, and the end steps end it: the keyboard
    // is shown once for each and hidden at its end, however many fields were touched in between.
    bool editing = false;
    int shownAndHidden = 0;
    QString lastField;
    for (const QString &step : steps.split(QLatin1Char(' '))) {
        const bool touch = step.startsWith(QLatin1String("touch:")) && step != QLatin1String("touch:ok");
        lastField = touch ? step.mid(6) : lastField;
        if (touch ? !editing : editing && EndSteps.contains(step)) {
            editing = !editing;
            ++shownAndHidden;
        }
    }
    QVERIFY(editing ? f.window()->activeFocusItem() == find(lastField)
                    : !qobject_cast<QQuickTextInput *>(f.window()->activeFocusItem()));
    QTRY_VERIFY(f.keyboard() ? f.keyboard()->isVisible() == editing
                             : !QSP::VkbManager::instance().isVisible());
    if (f.keyboard() && !lastField.isEmpty()) {
        const VkbLayoutType layout = lastField.startsWith(QLatin1String("ip")) ? VkbLayout_IPv4
                                     : lastField == QLatin1String("mac")       ? VkbLayout_Full
                                                                               : VkbLayout_DateTime;
        QCOMPARE(f.keyboard()->layoutType(), layout);
        QCOMPARE(keyboardShownOrHidden.count(), shownAndHidden);
        QCOMPARE(f.keyboard()->popup()->isModal(), !editing); // its own modality back when it hides
    }
    // Every field touched beeps, and so does "OK"; keys and leaving are silent.
    QCOMPARE(ControlFixture::beeps(), buzzer ? steps.count(QLatin1String("touch:")) : 0);
    if (!shown.isEmpty())
        QCOMPARE(this->shown(kind), shown);
    QCOMPARE(reports.join(QLatin1Char(',')), report);
    if (kind == Ip && !editing)
        QCOMPARE(m_ip->ip(), shown);
    if (kind == Time) {
        // Confirmed, the popup closes with the new value; refused by "OK", Return or Enter, it stays with the
        // old one and says why, until the user types again.
        QTRY_COMPARE(m_popup->isVisible(), report.isEmpty());
        QCOMPARE(m_popup->currentDateTime(), report.isEmpty() ? startTime : local(report));
        QCOMPARE(timeChanged.count(), int(!report.isEmpty() && local(report) != startTime));
        const bool confirming =
            words("touch:ok key:Return key:Enter").contains(steps.section(QLatin1Char(' '), -1));
        QCOMPARE(m_popup->refusalText()->isVisible(), report.isEmpty() && confirming);
    }
}

void tst_EditFields::setIp_data()
{
    // Taken ("+"): four decimal numbers from 0 to 255. Not: the same address again, anything else.
    QTest::addColumn<QString>("text");
    for (const char *text : {"+10.0.0.1", "+255.255.255.255", "+010.0.0.08", "192.168.1.20", "10.0.0.256",
                             "10.0.0.0001", "127.1", "1.2.3.4.5", "1..3.4", " 10.0.0.1"})
        QTest::newRow(text) << QString::fromLatin1(text);
}

void tst_EditFields::setIp()
{
    QFETCH(QString, text);
    const bool taken = text.startsWith(QLatin1Char('+'));
    text.remove(QLatin1Char('+'));
    QSignalSpy edited(m_ip.get(), &CIpInput::ipChangedByEdit);
    m_ip->setIp(text);
    QCOMPARE(m_ip->ip(), taken ? text : QStringLiteral("192.168.1.20"));
    QCOMPARE(shown(Ip), m_ip->ip());
    QCOMPARE(edited.count(), 0);
}

void tst_EditFields::declared()
{
    // What a declaration sets before the fields exist reaches them; the font size follows later changes.
    m_ip.reset(qobject_cast<CIpInput *>(
        f.create("import \"qrc:/setting/flatui\"\nIpInput { ip: \"172.16.5.9\"; enabled: false }")));
    QVERIFY(m_ip);
    m_ip->setFontPixelSize(12);
    m_mac->setFontPixelSize(25);
    QCOMPARE(shown(Ip), QStringLiteral("172.16.5.9"));
    QCOMPARE(input(QStringLiteral("ip2"))->color(), QColor(0xB4, 0xB4, 0xB4));
    QCOMPARE(input(QStringLiteral("ip3"))->font().pixelSize(), 12);
    QCOMPARE(input(QStringLiteral("mac"))->font().pixelSize(), 25);
}

void tst_EditFields::disabled_data()
{
    QTest::addColumn<QStringList>("fields");
    QTest::newRow("address") << IpFields;
    QTest::newRow("MAC") << words("mac");
}

void tst_EditFields::disabled()
{
    // Disabled, the digits are grey, the frames gone, and a touch does nothing; enabled again, the field
    // touched is framed in the focus colour.
    QFETCH(QStringList, fields);
    const bool mac = fields.size() == 1;
    const QString before = shown(mac ? Mac : Ip);
    const auto frameOf = [this](const QString &field) {
        return qobject_cast<QQuickRectangle *>(find(field)->parentItem()->childItems().value(0));
    };
    const auto looks = [&](bool enabled) {
        return std::all_of(fields.begin(), fields.end(), [&](const QString &field) {
            return input(field)->isEnabled() == enabled && frameOf(field)->isVisible() == enabled &&
                   input(field)->color() == (enabled ? QColor(0, 0, 0) : QColor(0xB4, 0xB4, 0xB4));
        });
    };
    QSignalSpy ipEdited(m_ip.get(), &CIpInput::ipChangedByEdit);
    QSignalSpy macEdited(m_mac.get(), &CMacInput::macChangedByEdit);
    for (const bool enabled : {false, true}) {
        mac ? m_mac->setEnabled(enabled) : m_ip->setEnabled(enabled);
        QVERIFY(looks(enabled));
        QCOMPARE(run(QStringLiteral("touch:") + fields.last()), enabled); // false: the field took no focus
        QVERIFY(enabled || run(QStringLiteral("type:ff key:Return")));
    }
    QCOMPARE(ControlFixture::beeps() + ipEdited.count() + macEdited.count(), 1);
    QCOMPARE(shown(mac ? Mac : Ip), before);
    QCOMPARE(frameOf(fields.last())->border()->color(), QColor(QStringLiteral("#3269CE")));
}

void tst_EditFields::timeFillsFields()
{
    // The 29th of a leap February survives the 31st shown before; the same time again refills what the user
    // typed, without a change reported; no time empties the fields.
    openPopup(local(QStringLiteral("2023-01-31 01:01:01")));
    QSignalSpy changed(m_popup.get(), &TimeEditPopup::currentDateTimeChanged);
    for (int i = 0; i < 2; ++i) {
        m_popup->setCurrentDateTime(local(QStringLiteral("2024-02-29 07:08:00")));
        QCOMPARE(shown(Time), QStringLiteral("2024 02 29 07 08 00"));
        QVERIFY(run(QStringLiteral("touch:minute key:Del touch:hour type:1")));
    }
    QCOMPARE(changed.count(), 1);
    m_popup->setCurrentDateTime(QDateTime());
    QCOMPARE(shown(Time), QString(5, QLatin1Char(' ')));
}

void tst_EditFields::timePopupOfTheScreen()
{
    QVERIFY(f.checkRootPopup(
        [this] { return (m_popup = std::make_unique<TimeEditPopup>(f.window()->contentItem())).get(); }));
    // "OK" and the refusal follow the language.
    auto *label = qobject_cast<QQuickText *>(m_popup->confirmButton()->contentItem());
    QVERIFY(label);
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::Chinese, QLocale::China));
    const QString chinese = label->text() + m_popup->refusalText()->text();
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QCOMPARE(chinese, QStringLiteral("确定日期无效"));
    QCOMPARE(label->text() + m_popup->refusalText()->text(), QStringLiteral("OKInvalid date"));
}

QTEST_MAIN(tst_EditFields)
#include "tst_editfields.moc"
