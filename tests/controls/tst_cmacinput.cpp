#include "CMacInput.h"
#include "ControlFixture.h"

using HMI::MAC;
using QSP::CMacInput;

class tst_CMacInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(f.showWindow()); }
    void init();
    void cleanup();

    void created();
    void conversion_data();
    void conversion();
    void editing_data();
    void editing();
    void disabled();
    void keyboard();
    void brokenDocument();
    void withKeyboard() { ControlFixture::rerunWithKeyboard(); }

private:
    /// Plays steps as ControlFixture::play() does; "touch:" touches the field.
    bool run(const QString &steps)
    {
        return f.play(steps, [this](const QString &) { return m_field; });
    }
    QQuickRectangle *frame() const { return qobject_cast<QQuickRectangle *>(m_mac->childItems().value(0)); }

    ControlFixture f;
    CMacInput *m_mac = nullptr;
    QQuickTextInput *m_field = nullptr;
};

void tst_CMacInput::init()
{
    QVERIFY(ControlFixture::setBuzzer(true));
    m_mac = f.create<CMacInput>();
    QVERIFY(m_mac);
    m_mac->setPosition(QPointF(20, 20));
    m_mac->setSize(QSizeF(300, 40));
    m_field = m_mac->property("input").value<QQuickTextInput *>();
    QVERIFY(m_field);
}

void tst_CMacInput::cleanup()
{
    f.focusElsewhere();
    delete m_mac;
    m_mac = nullptr;
}

void tst_CMacInput::created()
{
    QCOMPARE(m_mac->parent(), f.window()->contentItem());
    QCOMPARE(m_mac->macString(), QStringLiteral("00:00:00:00:00:00"));
    QCOMPARE(m_field->inputMask(), QStringLiteral("HH:HH:HH:HH:HH:HH; "));
    QCOMPARE(m_field->size(), m_mac->size());
    QCOMPARE(frame()->size(), m_mac->size());
    m_mac->setFontPixelSize(25);
    m_mac->setFontPixelSize(0); // not a size: ignored
    QCOMPARE(m_field->font().pixelSize(), 25);

    // Declared bare, without its document, there is no field: reading gives nothing, writing does nothing.
    std::unique_ptr<QObject> item(f.create("CMacInput {}"));
    auto *bare = qobject_cast<CMacInput *>(item.get());
    QVERIFY(bare);
    bare->setMac(MAC{{1, 2, 3, 4, 5, 6}});
    bare->setEnabled(false);
    bare->setFontPixelSize(30);
    QCOMPARE(bare->mac(), MAC{});
}

void tst_CMacInput::conversion_data()
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

void tst_CMacInput::conversion()
{
    QFETCH(QString, text);
    QFETCH(MAC, mac);
    QFETCH(bool, shownAsIs);

    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());
    if (shownAsIs) {
        m_mac->setMac(mac);
        QCOMPARE(m_mac->macString(), text);
    }
    m_field->setText(text);
    QVERIFY(m_mac->mac() == mac);
    QCOMPARE(edited.count(), 0);
}

void tst_CMacInput::editing_data()
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

void tst_CMacInput::editing()
{
    QFETCH(QString, steps);
    QFETCH(QString, end);
    QFETCH(QString, text);
    QFETCH(bool, reported);
    QFETCH(bool, buzzer);

    QVERIFY(ControlFixture::setBuzzer(buzzer));
    m_mac->setMac(MAC{{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}});
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());
    QVERIFY(run(QStringLiteral("touch: ") + steps));
    QCOMPARE(frame()->border()->color(), QColor(QStringLiteral("#3269CE")));
    QCOMPARE(edited.count(), 0);
    if (end.isEmpty())
        f.focusElsewhere();
    else
        QVERIFY(run(QStringLiteral("key:") + end));

    QVERIFY(!m_field->hasActiveFocus());
    QCOMPARE(m_mac->macString(), text);
    QCOMPARE(edited.count(), reported ? 1 : 0);
    if (reported)
        QVERIFY(edited.at(0).at(0).value<MAC>() == m_mac->mac());
    QCOMPARE(ControlFixture::beeps(), buzzer ? 1 : 0); // the touch beeps, confirming is silent
}

void tst_CMacInput::disabled()
{
    m_mac->setMac(MAC{{1, 2, 3, 4, 5, 6}});
    m_mac->setEnabled(false);
    QVERIFY(m_mac->isEnabled()); // only the field is disabled, greyed and without its frame
    QVERIFY(!m_field->isEnabled() && !frame()->isVisible());
    QCOMPARE(m_field->color(), QColor(0xB4, 0xB4, 0xB4));
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());
    ControlFixture::click(m_field);
    QVERIFY(run(QStringLiteral("type:ff key:Return")));
    QCOMPARE(m_mac->macString(), QStringLiteral("01:02:03:04:05:06"));
    QCOMPARE(edited.count(), 0);
    QCOMPARE(ControlFixture::beeps(), 0);
    m_mac->setEnabled(true);
    QVERIFY(m_field->isEnabled() && frame()->isVisible());
    QCOMPARE(m_field->color(), QColor(0, 0, 0));
}

void tst_CMacInput::keyboard()
{
    // In both runs the editing works the same; with a keyboard, the full one comes and goes with it.
    TestKeyboard *keyboard = f.keyboard();
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());
    for (const char *end : {"Return", "Esc", "Hide"}) {
        if (keyboard)
            keyboard->setLayoutType(VkbLayout_IPv4);
        QVERIFY(run(QStringLiteral("touch:")));
        QTRY_VERIFY(f.keyboardShown(true));
        QVERIFY(!keyboard || keyboard->layoutType() == VkbLayout_Full);
        QVERIFY(run(QStringLiteral("key:") + QLatin1String(end)));
        QTRY_VERIFY(f.keyboardShown(false));
        QCOMPARE(edited.count(), 1); // reported on Return only
    }
}

void tst_CMacInput::brokenDocument()
{
    ControlFixture::checkBrokenDocument(
        QUrl(QStringLiteral("qrc:/setting/flatui/MacInput.qml")), QStringLiteral("CMacInput"),
        [this](QQmlEngine *engine) { return CMacInput::create(engine, f.window()->contentItem()); });
    std::unique_ptr<CMacInput> control(f.create<CMacInput>()); // the host's engine still makes controls
    QVERIFY(control && control->property("input").value<QObject *>());
}

QTEST_MAIN(tst_CMacInput)
#include "tst_cmacinput.moc"
