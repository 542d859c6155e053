#include "CIpInput.h"
#include "ControlFixture.h"

using QSP::CIpInput;

class tst_CIpInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(f.showWindow()); }
    void init();
    void cleanup();

    void layout_data();
    void layout();
    void declaredInQml();
    void setIp_data();
    void setIp();
    void editing_data();
    void editing();
    void disabled();
    void keyboard();
    void brokenDocument();
    void withKeyboard() { ControlFixture::rerunWithKeyboard(); }

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
    QQuickRectangle *frame(int index) const
    {
        return qobject_cast<QQuickRectangle *>(field(index)->parentItem()->childItems().value(0));
    }
    /// Plays steps as ControlFixture::play() does; "touch:N" touches field N.
    bool run(const QString &steps)
    {
        return f.play(steps, [this](const QString &index) { return field(index.toInt()); });
    }

    ControlFixture f;
    CIpInput *m_input = nullptr;
};

void tst_CIpInput::init()
{
    QVERIFY(ControlFixture::setBuzzer(true));
    m_input = f.create<CIpInput>();
    QVERIFY(m_input && field(0) && field(3));
    QCOMPARE(m_input->parent(), f.window()->contentItem());
    m_input->setPosition(QPointF(20, 20));
    m_input->setHeight(40);
}

void tst_CIpInput::cleanup()
{
    f.focusElsewhere();
    delete m_input;
    m_input = nullptr;
}

void tst_CIpInput::layout_data()
{
    QTest::addColumn<qreal>("height");
    QTest::addColumn<int>("fontPixelSize");
    QTest::newRow("40 high") << 40.0 << 31;
    QTest::newRow("30 high") << 30.0 << 12;
}

void tst_CIpInput::layout()
{
    QFETCH(qreal, height);
    QFETCH(int, fontPixelSize);

    m_input->setHeight(height);
    m_input->setFontPixelSize(fontPixelSize);
    // Four framed fields as wide as 1.528 heights, a dot between each two, all in the control's font.
    QString shown;
    for (QQuickItem *child : field(0)->parentItem()->parentItem()->childItems()) {
        auto *dot = qobject_cast<QQuickText *>(child);
        auto *input = child->property("input").value<QQuickTextInput *>();
        shown += dot ? dot->text() : input->text();
        QCOMPARE(dot ? dot->font().pixelSize() : input->font().pixelSize(), fontPixelSize);
        QVERIFY(dot || input->size() == QSizeF(height * 1.528, height));
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
    QVERIFY(changed.isValid());
    QVERIFY(edited.isValid());
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
    QVERIFY(changed.isValid());
    QVERIFY(edited.isValid());
    QVERIFY(editingChanged.isValid());

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

void tst_CIpInput::disabled()
{
    const auto enabledLook = [this](bool enabled) {
        const QColor colour = enabled ? QColor(0, 0, 0) : QColor(0xB4, 0xB4, 0xB4);
        for (int i = 0; i < 4; ++i) {
            if (field(i)->isEnabled() != enabled || frame(i)->isVisible() != enabled ||
                field(i)->color() != colour)
                return false;
        }
        return true;
    };
    m_input->setIp(QStringLiteral("10.1.2.3"));
    m_input->setEnabled(false);
    QVERIFY(enabledLook(false)); // grey digits, no frames, and no touch
    ControlFixture::click(field(2));
    QVERIFY(!field(2)->hasActiveFocus());
    QCOMPARE(ControlFixture::beeps(), 0);
    m_input->setEnabled(true);
    QVERIFY(enabledLook(true));
    QCOMPARE(fieldTexts(), QStringLiteral("10.1.2.3"));
    // The frame of the number being edited is drawn in the focus colour.
    QVERIFY(run(QStringLiteral("touch:2")));
    QCOMPARE(frame(2)->border()->color(), QColor(QStringLiteral("#3269CE")));
    QCOMPARE(frame(1)->border()->color(), QColor(QStringLiteral("#E2E2E2")));
}

void tst_CIpInput::keyboard()
{
    // In both runs the editing works the same; with a keyboard, the keyboard follows it.
    TestKeyboard *keyboard = f.keyboard();
    std::unique_ptr<CIpInput> next(f.create<CIpInput>());
    QVERIFY(next);
    next->setPosition(QPointF(20, 100));
    next->setHeight(40);
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    QVERIFY(edited.isValid());

    // On to the next number, then to another address, the keyboard stays; the first address is reported.
    QVERIFY(run(QStringLiteral("touch:0 type:10 touch:1 type:20")));
    QTRY_VERIFY(f.keyboardShown(true));
    QVERIFY(!keyboard || keyboard->layoutType() == VkbLayout_IPv4);
    ControlFixture::click(field(2, next.get()));
    QCOMPARE(edited.count(), 1);
    QCOMPARE(edited.at(0).at(0).toUInt(), 0x0A140000u);
    QVERIFY(next->editing() && f.keyboardShown(true));
    QVERIFY(run(QStringLiteral("type:3 key:Return")));
    QCOMPARE(next->ip(), QStringLiteral("0.0.3.0"));
    QTRY_VERIFY(f.keyboardShown(false));

    // The keyboard's own hide key cancels and puts it away.
    QVERIFY(run(QStringLiteral("touch:3 type:9")));
    QTRY_VERIFY(f.keyboardShown(true));
    QVERIFY(run(QStringLiteral("key:Hide")));
    QTRY_VERIFY(f.keyboardShown(false));
    QCOMPARE(m_input->ip(), QStringLiteral("10.20.0.0"));
}

void tst_CIpInput::brokenDocument()
{
    ControlFixture::checkBrokenDocument(
        QUrl(QStringLiteral("qrc:/setting/flatui/IpInput.qml")), QStringLiteral("CIpInput"),
        [this](QQmlEngine *engine) { return CIpInput::create(engine, f.window()->contentItem()); });
    std::unique_ptr<CIpInput> control(f.create<CIpInput>()); // the host's engine still makes controls
    QVERIFY(control && field(0, control.get()));
}

QTEST_MAIN(tst_CIpInput)
#include "tst_cipinput.moc"
