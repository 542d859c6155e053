#include "CIpInput.h"
#include "CMacInput.h"
#include "ControlFixture.h"

#include <algorithm>

using HMI::MAC;
using QSP::CIpInput;
using QSP::CMacInput;

Q_DECLARE_METATYPE(std::function<QObject *(QQmlEngine *, QQuickItem *)>)

/// The address fields: CIpInput (four numbers) and CMacInput (one field of six pairs).
class tst_CIpInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(f.showWindow()); }
    void init();
    void cleanup();

    void fields();
    void declaredInQml();
    void setIp_data();
    void setIp();
    void editing_data();
    void editing();
    void macCreated();
    void macConversion_data();
    void macConversion();
    void macEditing_data();
    void macEditing();
    void disabled_data();
    void disabled();
    void brokenDocument_data();
    void brokenDocument();

private:
    QQuickTextInput *field(int index, CIpInput *input = nullptr) const
    {
        const QByteArray name = "ipi" + QByteArray::number(index);
        return (input ? input : m_input)->property(name.constData()).value<QQuickTextInput *>();
    }
    QString fieldTexts(CIpInput *input = nullptr) const
    {
        QStringList texts;
        for (int i = 0; i < 4; ++i)
            texts << field(i, input)->text();
        return texts.join(QLatin1Char('.'));
    }
    static QQuickRectangle *frameOf(QQuickItem *field)
    {
        return qobject_cast<QQuickRectangle *>(field->parentItem()->childItems().value(0));
    }
    /// Plays steps as ControlFixture::play() does; "touch:N" touches the address's number N, "touch:mac" the
    /// MAC field.
    bool run(const QString &steps)
    {
        return f.play(steps, [this](const QString &name) -> QQuickItem * {
            return name == QLatin1String("mac") ? m_macField : field(name.toInt());
        });
    }

    ControlFixture f;
    CIpInput *m_input = nullptr;
    CMacInput *m_mac = nullptr;
    QQuickTextInput *m_macField = nullptr;
};

void tst_CIpInput::init()
{
    QVERIFY(ControlFixture::setBuzzer(true));
    m_input = f.create<CIpInput>();
    QVERIFY(m_input && field(0) && field(3));
    QCOMPARE(m_input->parent(), f.window()->contentItem());
    m_input->setPosition(QPointF(20, 20));
    m_input->setHeight(40);
    m_mac = f.create<CMacInput>();
    QVERIFY(m_mac);
    m_mac->setPosition(QPointF(20, 100));
    m_mac->setSize(QSizeF(300, 40));
    m_macField = m_mac->property("input").value<QQuickTextInput *>();
    QVERIFY(m_macField);
}

void tst_CIpInput::cleanup()
{
    f.focusElsewhere();
    delete m_input;
    delete m_mac;
}

void tst_CIpInput::fields()
{
    // Four numbers with a dot between each two, side by side, all in the control's font.
    m_input->setFontPixelSize(12);
    QString shown;
    qreal right = 0;
    for (QQuickItem *child : field(0)->parentItem()->parentItem()->childItems()) {
        auto *dot = qobject_cast<QQuickText *>(child);
        auto *input = child->property("input").value<QQuickTextInput *>();
        shown += dot ? dot->text() : input->text();
        QCOMPARE(dot ? dot->font().pixelSize() : input->font().pixelSize(), 12);
        QVERIFY(child->x() >= right);
        right = child->x() + child->width();
    }
    QCOMPARE(shown, QStringLiteral("0·0·0·0"));
    QCOMPARE(m_input->ip(), QString());
}

void tst_CIpInput::declaredInQml()
{
    // Cards may declare the document themselves; what the declaration sets reaches the fields.
    std::unique_ptr<QObject> item(f.create("import \"qrc:/setting/flatui\"\n"
                                           "IpInput { height: 30; ip: \"172.16.5.9\"; enabled: false }"));
    auto *declared = qobject_cast<CIpInput *>(item.get());
    QVERIFY(declared);
    QCOMPARE(fieldTexts(declared), QStringLiteral("172.16.5.9"));
    QCOMPARE(field(2, declared)->color(), QColor(0xB4, 0xB4, 0xB4));
}

void tst_CIpInput::setIp_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("taken");
    for (const char *text : {"10.0.0.1", "255.255.255.255", "010.0.0.08"})
        QTest::newRow(text) << QString::fromLatin1(text) << true;
    // The same address again, and what is not four decimal numbers from 0 to 255.
    for (const char *text :
         {"172.16.0.1", "10.0.0.256", "10.0.0.0001", "127.1", "1.2.3.4.5", "1..3.4", " 10.0.0.1"})
        QTest::newRow(text) << QString::fromLatin1(text) << false;
}

void tst_CIpInput::setIp()
{
    QFETCH(QString, text);
    QFETCH(bool, taken);

    m_input->setIp(QStringLiteral("172.16.0.1"));
    QSignalSpy changed(m_input, &CIpInput::ipChanged);
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    m_input->setIp(text);
    QCOMPARE(m_input->ip(), taken ? text : QStringLiteral("172.16.0.1"));
    QCOMPARE(fieldTexts(), m_input->ip());
    QCOMPARE(changed.count(), taken ? 1 : 0);
    QCOMPARE(edited.count(), 0);
}

void tst_CIpInput::editing_data()
{
    QTest::addColumn<QString>("start"); // empty: cleared
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<quint32>("address"); // reported once when the editing changed the address
    QTest::addColumn<bool>("buzzer");

    const auto row = [](const char *name, const char *steps, const char *ip, quint32 address,
                        const char *start = "192.168.1.20", bool buzzer = true) {
        QTest::newRow(name) << QString::fromLatin1(start) << QString::fromLatin1(steps)
                            << QString::fromLatin1(ip) << address << buzzer;
    };
    row("one number, Return", "touch:3 type:50 key:Return", "192.168.1.50", 0xC0A80132);
    row("four numbers, one report, Enter",
        "touch:0 type:10 touch:1 type:0 touch:2 type:0 touch:3 type:1 key:Enter", "10.0.0.1", 0x0A000001);
    row("same number typed again", "touch:2 type:1 key:Return", "192.168.1.20", 0);
    row("leading zero dropped", "touch:0 type:010 key:Return", "10.168.1.20", 0x0AA80114);
    row("letters, signs and 256 refused", "touch:3 type:a2.-5x6 key:Return", "192.168.1.25", 0xC0A80119);
    row("Clear key, emptied becomes 0", "touch:2 key:Clear key:Return", "192.168.0.20", 0xC0A80014);
    row("Escape restores", "touch:3 type:99 key:Esc", "192.168.1.20", 0);
    row("Escape in the second number keeps the first", "touch:0 type:10 touch:1 type:99 key:Esc",
        "10.168.1.20", 0x0AA80114);
    row("untouched leading zero is decimal", "touch:3 type:9 key:Return", "010.0.0.9", 0x0A000009,
        "010.0.0.1");
    row("cleared, zeros confirmed", "touch:1 key:Return", "0.0.0.0", 0, "");
    row("buzzer off", "touch:0 touch:3 key:Esc", "192.168.1.20", 0, "192.168.1.20", false);
}

void tst_CIpInput::editing()
{
    QFETCH(QString, start);
    QFETCH(QString, steps);
    QFETCH(QString, ip);
    QFETCH(bool, buzzer);

    QVERIFY(ControlFixture::setBuzzer(buzzer));
    m_input->setIp(QStringLiteral("192.168.1.20"));
    if (start.isEmpty())
        m_input->clear();
    else
        m_input->setIp(start);
    QCOMPARE(m_input->ip(), start);
    QSignalSpy changed(m_input, &CIpInput::ipChanged);
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    QSignalSpy editingChanged(m_input, &CIpInput::editingChanged);

    QVERIFY(run(steps));
    QCOMPARE(editingChanged.count(), 2); // in once, out once, however many numbers were touched
    QVERIFY(!m_input->editing());
    QCOMPARE(fieldTexts(), ip);
    QCOMPARE(m_input->ip(), ip);
    const int edits = ip != start ? 1 : 0;
    QCOMPARE(changed.count(), edits);
    QCOMPARE(edited.count(), edits);
    if (edits)
        QTEST(edited.at(0).at(0).value<quint32>(), "address");
    // Every number touched beeps once; leaving is silent.
    QCOMPARE(ControlFixture::beeps(), buzzer ? steps.count(QLatin1String("touch:")) : 0);
}

void tst_CIpInput::macCreated()
{
    QCOMPARE(m_mac->parent(), f.window()->contentItem());
    QCOMPARE(m_mac->macString(), QStringLiteral("00:00:00:00:00:00"));
    QCOMPARE(m_macField->inputMask(), QStringLiteral("HH:HH:HH:HH:HH:HH; "));
    m_mac->setFontPixelSize(25);
    m_mac->setFontPixelSize(0); // not a size: ignored
    QCOMPARE(m_macField->font().pixelSize(), 25);

    // Declared bare, without its document, there is no field: reading gives nothing, writing does nothing.
    std::unique_ptr<QObject> item(f.create("CMacInput {}"));
    auto *bare = qobject_cast<CMacInput *>(item.get());
    QVERIFY(bare);
    bare->setMac(MAC{{1, 2, 3, 4, 5, 6}});
    bare->setEnabled(false);
    bare->setFontPixelSize(30);
    QCOMPARE(bare->mac(), MAC{});
}

void tst_CIpInput::macConversion_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<MAC>("mac");
    QTest::addColumn<bool>("shownAsIs"); // what setMac() shows

    QTest::newRow("zero padded, upper case")
        << QStringLiteral("0A:FF:00:01:02:03") << MAC{{0x0A, 0xFF, 0x00, 0x01, 0x02, 0x03}} << true;
    QTest::newRow("broadcast") << QStringLiteral("FF:FF:FF:FF:FF:FF") << MAC{{255, 255, 255, 255, 255, 255}}
                               << true;
    QTest::newRow("mixed case read") << QStringLiteral("0a:Bc:dE:F0:12:34")
                                     << MAC{{0x0A, 0xBC, 0xDE, 0xF0, 0x12, 0x34}} << false;
    QTest::newRow("missing pairs read as 0")
        << QStringLiteral("0A:1B") << MAC{{0x0A, 0x1B, 0, 0, 0, 0}} << false;
}

void tst_CIpInput::macConversion()
{
    QFETCH(QString, text);
    QFETCH(MAC, mac);
    QFETCH(bool, shownAsIs);

    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    if (shownAsIs) {
        m_mac->setMac(mac);
        QCOMPARE(m_mac->macString(), text);
    }
    m_macField->setText(text);
    QVERIFY(m_mac->mac() == mac);
    QCOMPARE(edited.count(), 0);
}

void tst_CIpInput::macEditing_data()
{
    QTest::addColumn<QString>("steps"); // after a touch
    QTest::addColumn<QString>("end");   // the key that ends the editing; none: the focus is taken away
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("reported");
    QTest::addColumn<bool>("buzzer");

    const auto row = [](const char *name, const char *steps, const char *end, const char *text, bool reported,
                        bool buzzer = true) {
        QTest::newRow(name) << QString::fromLatin1(steps) << QString::fromLatin1(end)
                            << QString::fromLatin1(text) << reported << buzzer;
    };
    const char *const start = "12:34:56:78:9A:BC";
    row("new address, Return", "key:Home type:001a2b3c4d5e", "Return", "00:1a:2b:3c:4d:5e", true);
    row("part typed, Enter", "key:Home type:AABBCC", "Enter", "AA:BB:CC:78:9A:BC", true);
    row("unchanged address, Return", "", "Return", start, true, false);
    row("non-hexadecimal refused", "key:Home type:g-z:", "Return", start, true);
    row("Escape restores", "key:Home type:ffff", "Esc", start, false);
    row("keyboard hide key restores", "key:Home type:ffff", "Hide", start, false);
    row("unfinished, Return", "key:End key:Backspace key:Backspace", "Return", start, false);
    row("unfinished, focus taken", "key:End key:Backspace key:Backspace", "", start, false);
}

void tst_CIpInput::macEditing()
{
    QFETCH(QString, steps);
    QFETCH(QString, end);
    QFETCH(QString, text);
    QFETCH(bool, reported);
    QFETCH(bool, buzzer);

    QVERIFY(ControlFixture::setBuzzer(buzzer));
    m_mac->setMac(MAC{{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}});
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(run(QStringLiteral("touch:mac ") + steps));
    QCOMPARE(frameOf(m_macField)->border()->color(), QColor(QStringLiteral("#3269CE")));
    QCOMPARE(edited.count(), 0);
    if (end.isEmpty())
        f.focusElsewhere();
    else
        QVERIFY(run(QStringLiteral("key:") + end));

    QVERIFY(!m_macField->hasActiveFocus());
    QCOMPARE(m_mac->macString(), text);
    QCOMPARE(edited.count(), reported ? 1 : 0);
    if (reported)
        QVERIFY(edited.at(0).at(0).value<MAC>() == m_mac->mac());
    QCOMPARE(ControlFixture::beeps(), buzzer ? 1 : 0); // the touch beeps, confirming is silent
}

void tst_CIpInput::disabled_data()
{
    QTest::addColumn<bool>("mac");
    QTest::newRow("address") << false;
    QTest::newRow("MAC") << true;
}

void tst_CIpInput::disabled()
{
    // Disabled, the digits are grey, the frames gone, and a touch does nothing; enabled again, the field
    // touched is framed in the focus colour.
    QFETCH(bool, mac);
    m_input->setIp(QStringLiteral("10.1.2.3"));
    m_mac->setMac(MAC{{1, 2, 3, 4, 5, 6}});
    const auto enable = [&](bool on) { mac ? m_mac->setEnabled(on) : m_input->setEnabled(on); };
    const QList<QQuickTextInput *> inputs =
        mac ? QList<QQuickTextInput *>{m_macField}
            : QList<QQuickTextInput *>{field(0), field(1), field(2), field(3)};
    const auto looks = [&inputs](bool enabled) {
        const QColor colour = enabled ? QColor(0, 0, 0) : QColor(0xB4, 0xB4, 0xB4);
        return std::all_of(inputs.begin(), inputs.end(), [&](QQuickTextInput *input) {
            return input->isEnabled() == enabled && frameOf(input)->isVisible() == enabled &&
                   input->color() == colour;
        });
    };
    QSignalSpy ipEdited(m_input, &CIpInput::ipChangedByEdit);
    QSignalSpy macEdited(m_mac, &CMacInput::macChangedByEdit);
    enable(false);
    QVERIFY(looks(false));
    QVERIFY(m_mac->isEnabled()); // only the MAC's field is disabled
    ControlFixture::click(inputs.last());
    QVERIFY(!inputs.last()->hasActiveFocus());
    QVERIFY(run(QStringLiteral("type:ff key:Return")));
    QCOMPARE(ControlFixture::beeps() + ipEdited.count() + macEdited.count(), 0);
    enable(true);
    QVERIFY(looks(true));
    QCOMPARE(fieldTexts() + m_mac->macString(), QStringLiteral("10.1.2.301:02:03:04:05:06"));
    QVERIFY(run(QStringLiteral("touch:") + (mac ? QLatin1String("mac") : QLatin1String("3"))));
    QCOMPARE(frameOf(inputs.last())->border()->color(), QColor(QStringLiteral("#3269CE")));
    QCOMPARE(frameOf(inputs.first())->border()->color() == QColor(QStringLiteral("#E2E2E2")), !mac);
}

void tst_CIpInput::brokenDocument_data()
{
    using Create = std::function<QObject *(QQmlEngine *, QQuickItem *)>;
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("className");
    QTest::addColumn<Create>("create");
    QTest::newRow("address") << "IpInput.qml"
                             << "CIpInput"
                             << Create([](QQmlEngine *e, QQuickItem *p) { return CIpInput::create(e, p); });
    QTest::newRow("MAC") << "MacInput.qml"
                         << "CMacInput"
                         << Create([](QQmlEngine *e, QQuickItem *p) { return CMacInput::create(e, p); });
}

void tst_CIpInput::brokenDocument()
{
    QFETCH(QString, document);
    QFETCH(QString, className);
    QFETCH(std::function<QObject *(QQmlEngine *, QQuickItem *)>, create);
    ControlFixture::checkBrokenDocument(
        QUrl(QStringLiteral("qrc:/setting/flatui/") + document), className,
        [&](QQmlEngine *engine) { return create(engine, f.window()->contentItem()); });
    // The host's engine still makes controls.
    std::unique_ptr<QObject> control(create(f.engine(), f.window()->contentItem()));
    QVERIFY(control && control->findChild<QQuickTextInput *>());
}

QTEST_MAIN(tst_CIpInput)
#include "tst_cipinput.moc"
