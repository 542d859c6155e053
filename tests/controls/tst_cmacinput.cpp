#include "CMacInput.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"
#include "TestKeyboard.h"
#include "VkbManager.h"

#include <QProcess>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtTest>

#include <memory>

using HMI::MAC;
using HMI::PanelSimulator;
using QSP::CMacInput;

namespace {

/// Set in the child run that repeats every test with an on-screen keyboard present from the start (the
/// keyboard manager tries to load a keyboard only once per process).
const char WithKeyboardVariable[] = "TST_CMACINPUT_WITH_KEYBOARD";

int beeps()
{
    int count = 0;
    for (const auto &line : PanelSimulator::callLog())
        count += line == "beep 1";
    return count;
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

QString hex(const MAC &mac)
{
    QStringList bytes;
    for (const unsigned char byte : mac)
        bytes << QString::number(byte, 16);
    return bytes.join(QLatin1Char(' '));
}

} // namespace

class tst_CMacInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void createdFromDocument();
    void declaredInQml();
    void setMac_data();
    void setMac();
    void parse_data();
    void parse();
    void editing_data();
    void editing();
    void unfinishedAddressIsDropped_data();
    void unfinishedAddressIsDropped();
    void disabledGreysTextAndHidesFrame();
    void fontPixelSize();
    void touchBeeps_data();
    void touchBeeps();
    void keyboard();
    void repeatWithKeyboard();

private:
    void touch();
    void pressKey(int key);
    void typeText(const QString &text);
    QQuickRectangle *frame() const;

    bool m_withKeyboard = false;
    QQmlEngine m_engine;
    QQuickWindow m_window;
    QQuickItem *m_elsewhere = nullptr; ///< an item that takes the focus away from the control
    std::unique_ptr<TestKeyboard> m_keyboard;
    CMacInput *m_mac = nullptr;
    QQuickTextInput *m_field = nullptr;
};

void tst_CMacInput::initTestCase()
{
    m_withKeyboard = qEnvironmentVariableIsSet(WithKeyboardVariable);
    if (m_withKeyboard) {
        m_keyboard = std::make_unique<TestKeyboard>(200);
        QVkbPluginLoader::instance()->setVkb(m_keyboard.get());
    }
    m_elsewhere = new QQuickItem(m_window.contentItem());
    m_window.resize(800, 600);
    m_window.show();
    m_window.requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(&m_window));
}

void tst_CMacInput::init()
{
    QVERIFY(PanelSimulator::loadStateJson(R"({"buzzer": true})"));
    PanelSimulator::clearCallLog();
    m_mac = CMacInput::create(&m_engine, m_window.contentItem());
    QVERIFY(m_mac);
    m_mac->setPosition(QPointF(20, 20));
    m_mac->setSize(QSizeF(300, 40));
    m_field = qobject_cast<QQuickTextInput *>(m_mac->property("input").value<QObject *>());
    QVERIFY(m_field);
}

void tst_CMacInput::cleanup()
{
    m_elsewhere->forceActiveFocus();
    delete m_mac;
    m_mac = nullptr;
    m_field = nullptr;
}

void tst_CMacInput::touch()
{
    QTest::mouseClick(&m_window, Qt::LeftButton, Qt::NoModifier, centreOf(m_field));
}

/// Also keys that Qt has no name for, such as the on-screen keyboard's hide key.
void tst_CMacInput::pressKey(int key)
{
    QTest::sendKeyEvent(QTest::Click, &m_window, Qt::Key(key), char(0), Qt::NoModifier);
}

void tst_CMacInput::typeText(const QString &text)
{
    for (const QChar c : text)
        QTest::keyClick(&m_window, c.toLatin1());
}

QQuickRectangle *tst_CMacInput::frame() const
{
    return qobject_cast<QQuickRectangle *>(m_mac->childItems().value(0));
}

void tst_CMacInput::createdFromDocument()
{
    QCOMPARE(m_mac->parent(), m_window.contentItem());
    QCOMPARE(m_mac->parentItem(), m_window.contentItem());
    QCOMPARE(m_mac->macString(), QStringLiteral("00:00:00:00:00:00"));
    QCOMPARE(m_mac->mac(), MAC{});
    QCOMPARE(m_field->inputMask(), QStringLiteral("HH:HH:HH:HH:HH:HH; "));
    QCOMPARE(m_field->size(), m_mac->size());
    QVERIFY(frame());
    QCOMPARE(frame()->size(), m_mac->size());
    QCOMPARE(frame()->radius(), 4.0);
    QCOMPARE(frame()->border()->color(), QColor(QStringLiteral("#E2E2E2")));
}

void tst_CMacInput::declaredInQml()
{
    // Registering again is harmless: the type stays usable from QML.
    CMacInput::registerType();
    CMacInput::registerType();
    QQmlComponent component(&m_engine);
    component.setData("import QQuickSystemSet 1.0\nCMacInput {}", QUrl(QStringLiteral("probe.qml")));
    std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    auto *bare = qobject_cast<CMacInput *>(object.get());
    QVERIFY(bare);
    // Without its document there is no field: reading gives nothing, writing does nothing.
    QCOMPARE(bare->macString(), QString());
    QCOMPARE(bare->mac(), MAC{});
    bare->setMac(MAC{{1, 2, 3, 4, 5, 6}});
    bare->setEnabled(false);
    bare->setFontPixelSize(30);
    QCOMPARE(bare->macString(), QString());
}

void tst_CMacInput::setMac_data()
{
    QTest::addColumn<MAC>("mac");
    QTest::addColumn<QString>("text");

    QTest::newRow("mixed") << MAC{{0x0A, 0xFF, 0x00, 0x01, 0x02, 0x03}}
                           << QStringLiteral("0A:FF:00:01:02:03");
    QTest::newRow("ascending") << MAC{{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}}
                               << QStringLiteral("00:1A:2B:3C:4D:5E");
    QTest::newRow("zero") << MAC{} << QStringLiteral("00:00:00:00:00:00");
    QTest::newRow("broadcast") << MAC{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}
                               << QStringLiteral("FF:FF:FF:FF:FF:FF");
}

void tst_CMacInput::setMac()
{
    QFETCH(MAC, mac);
    QFETCH(QString, text);

    m_mac->setMac(MAC{{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}});
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());

    m_mac->setMac(mac);
    QCOMPARE(m_mac->macString(), text);
    QCOMPARE(m_field->text(), text);
    QVERIFY2(m_mac->mac() == mac, qPrintable(hex(m_mac->mac())));
    QCOMPARE(edited.count(), 0);
}

void tst_CMacInput::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<MAC>("mac");

    QTest::newRow("upper case") << QStringLiteral("0A:BC:DE:F0:12:34")
                                << MAC{{0x0A, 0xBC, 0xDE, 0xF0, 0x12, 0x34}};
    QTest::newRow("lower case") << QStringLiteral("0a:bc:de:f0:12:34")
                                << MAC{{0x0A, 0xBC, 0xDE, 0xF0, 0x12, 0x34}};
    QTest::newRow("mixed case") << QStringLiteral("0a:Bc:dE:F0:12:34")
                                << MAC{{0x0A, 0xBC, 0xDE, 0xF0, 0x12, 0x34}};
    QTest::newRow("missing pairs read as 0") << QStringLiteral("0A:1B") << MAC{{0x0A, 0x1B, 0, 0, 0, 0}};
    QTest::newRow("empty") << QString() << MAC{};
}

void tst_CMacInput::parse()
{
    QFETCH(QString, text);
    QFETCH(MAC, mac);

    m_field->setText(text);
    QVERIFY2(m_mac->mac() == mac,
             qPrintable(m_mac->macString() + QStringLiteral(" -> ") + hex(m_mac->mac())));
}

void tst_CMacInput::editing_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("endKey");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("reported");

    // Every row starts from 12:34:56:78:9A:BC, with the cursor moved to the start.
    const QString before = QStringLiteral("12:34:56:78:9A:BC");
    QTest::newRow("new address, Return") << QStringLiteral("001a2b3c4d5e") << int(Qt::Key_Return)
                                         << QStringLiteral("00:1a:2b:3c:4d:5e") << true;
    QTest::newRow("new address, Enter")
        << QStringLiteral("AABBCC") << int(Qt::Key_Enter) << QStringLiteral("AA:BB:CC:78:9A:BC") << true;
    QTest::newRow("unchanged address, Return") << QString() << int(Qt::Key_Return) << before << true;
    QTest::newRow("non-hexadecimal refused")
        << QStringLiteral("g-z: ") << int(Qt::Key_Return) << before << true;
    QTest::newRow("Escape restores") << QStringLiteral("ffff") << int(Qt::Key_Escape) << before << false;
    QTest::newRow("keyboard hide key restores") << QStringLiteral("ffff") << 0x100000 << before << false;
}

void tst_CMacInput::editing()
{
    QFETCH(QString, typed);
    QFETCH(int, endKey);
    QFETCH(QString, text);
    QFETCH(bool, reported);

    m_mac->setMac(MAC{{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}});
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());

    touch();
    QVERIFY(m_field->hasActiveFocus());
    QCOMPARE(frame()->border()->color(), QColor(QStringLiteral("#3269CE")));
    pressKey(Qt::Key_Home);
    typeText(typed);
    QCOMPARE(edited.count(), 0);
    pressKey(endKey);

    QCOMPARE(m_field->hasActiveFocus(), false);
    QCOMPARE(m_mac->macString(), text);
    QCOMPARE(edited.count(), reported ? 1 : 0);
    if (reported) {
        const MAC mac = edited.at(0).at(0).value<MAC>();
        QVERIFY2(mac == m_mac->mac(), qPrintable(hex(mac)));
    }
}

void tst_CMacInput::unfinishedAddressIsDropped_data()
{
    QTest::addColumn<bool>("confirm");

    QTest::newRow("Return") << true;
    QTest::newRow("focus taken") << false;
}

void tst_CMacInput::unfinishedAddressIsDropped()
{
    QFETCH(bool, confirm);

    m_mac->setMac(MAC{{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}});
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());

    touch();
    pressKey(Qt::Key_End);
    pressKey(Qt::Key_Backspace);
    pressKey(Qt::Key_Backspace);
    QCOMPARE(m_field->hasAcceptableInput(), false);
    if (confirm)
        pressKey(Qt::Key_Return);
    else
        m_elsewhere->forceActiveFocus();

    QCOMPARE(m_field->hasActiveFocus(), false);
    QCOMPARE(m_mac->macString(), QStringLiteral("12:34:56:78:9A:BC"));
    QCOMPARE(edited.count(), 0);
}

void tst_CMacInput::disabledGreysTextAndHidesFrame()
{
    m_mac->setMac(MAC{{1, 2, 3, 4, 5, 6}});
    m_mac->setEnabled(false);
    QCOMPARE(m_field->isEnabled(), false);
    QCOMPARE(m_field->color(), QColor(0xB4, 0xB4, 0xB4));
    QCOMPARE(frame()->isVisible(), false);
    QCOMPARE(m_mac->isEnabled(), true); // only the field is disabled

    PanelSimulator::clearCallLog();
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());
    touch();
    QCOMPARE(m_field->hasActiveFocus(), false);
    typeText(QStringLiteral("ff"));
    pressKey(Qt::Key_Return);
    QCOMPARE(m_mac->macString(), QStringLiteral("01:02:03:04:05:06"));
    QCOMPARE(edited.count(), 0);
    QCOMPARE(beeps(), 0);

    m_mac->setEnabled(true);
    QCOMPARE(m_field->isEnabled(), true);
    QCOMPARE(m_field->color(), QColor(0, 0, 0));
    QCOMPARE(frame()->isVisible(), true);
}

void tst_CMacInput::fontPixelSize()
{
    m_mac->setFontPixelSize(25);
    QCOMPARE(m_field->font().pixelSize(), 25);
    m_mac->setFontPixelSize(0); // not a size: ignored
    QCOMPARE(m_field->font().pixelSize(), 25);
}

void tst_CMacInput::touchBeeps_data()
{
    QTest::addColumn<bool>("buzzer");
    QTest::addColumn<int>("beeps");

    QTest::newRow("buzzer on") << true << 1;
    QTest::newRow("buzzer off") << false << 0;
}

void tst_CMacInput::touchBeeps()
{
    QFETCH(bool, buzzer);
    QFETCH(int, beeps);

    QVERIFY(PanelSimulator::loadStateJson(buzzer ? R"({"buzzer": true})" : R"({"buzzer": false})"));
    PanelSimulator::clearCallLog();
    touch();
    QVERIFY(m_field->hasActiveFocus());
    QCOMPARE(::beeps(), beeps);
    pressKey(Qt::Key_Return); // confirming is silent
    QCOMPARE(::beeps(), beeps);
}

void tst_CMacInput::keyboard()
{
    QSignalSpy edited(m_mac, &CMacInput::macChangedByEdit);
    QVERIFY(edited.isValid());
    if (!m_withKeyboard) {
        // Without a keyboard plug-in, touching and confirming work all the same.
        touch();
        QCOMPARE(QSP::VkbManager::instance().isVisible(), false);
        pressKey(Qt::Key_Return);
        QCOMPARE(edited.count(), 1);
        return;
    }

    m_keyboard->setLayoutType(VkbLayout_IPv4);
    touch();
    QTRY_VERIFY(m_keyboard->isVisible());
    QCOMPARE(m_keyboard->layoutType(), VkbLayout_Full);
    pressKey(Qt::Key_Return);
    QTRY_VERIFY(!m_keyboard->isVisible());
    QCOMPARE(edited.count(), 1);

    // Cancelling puts the keyboard away and reports nothing.
    for (const int key : {int(Qt::Key_Escape), 0x100000}) {
        touch();
        QTRY_VERIFY(m_keyboard->isVisible());
        pressKey(key);
        QTRY_VERIFY(!m_keyboard->isVisible());
        QCOMPARE(edited.count(), 1);
    }
}

void tst_CMacInput::repeatWithKeyboard()
{
    if (m_withKeyboard)
        QSKIP("this run already has a keyboard");
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(WithKeyboardVariable), QStringLiteral("1"));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(child.waitForFinished(240000));
    const QByteArray output = child.readAll();
    QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0, output.constData());
}

QTEST_MAIN(tst_CMacInput)
#include "tst_cmacinput.moc"
