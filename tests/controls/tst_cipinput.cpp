#include "CIpInput.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"
#include "TestKeyboard.h"
#include "VkbManager.h"

#include <QProcess>
#include <QQmlAbstractUrlInterceptor>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtTest>

#include <memory>

using HMI::PanelSimulator;
using QSP::CIpInput;

namespace {

/// Set in the child run that repeats every test with an on-screen keyboard present from the start (the
/// keyboard manager tries to load a keyboard only once per process).
const char WithKeyboardVariable[] = "TST_CIPINPUT_WITH_KEYBOARD";

int beeps()
{
    int count = 0;
    for (const auto &line : PanelSimulator::callLog())
        count += line == "beep 1";
    return count;
}

QStringList strings(std::initializer_list<const char *> texts)
{
    QStringList list;
    for (const char *text : texts)
        list << QString::fromUtf8(text);
    return list;
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

/// Sends the engine to another file in place of one document.
class RedirectingInterceptor : public QQmlAbstractUrlInterceptor
{
public:
    RedirectingInterceptor(const QUrl &from, const QUrl &to)
        : m_from(from)
        , m_to(to)
    {}
    QUrl intercept(const QUrl &url, DataType) override { return url == m_from ? m_to : url; }

private:
    QUrl m_from;
    QUrl m_to;
};

/// Counts the warnings of category "default" written while it lives, and passes them on.
class WarningCounter
{
public:
    WarningCounter() { s_previous = qInstallMessageHandler(&WarningCounter::handle); }
    ~WarningCounter() { qInstallMessageHandler(s_previous); }
    static inline int count = 0;

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        count += type == QtWarningMsg && qstrcmp(context.category, "default") == 0;
        s_previous(type, context, message);
    }
    static inline QtMessageHandler s_previous = nullptr;
};

} // namespace

class tst_CIpInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void createdFromDocument();
    void declaredInQml();
    void setIp_data();
    void setIp();
    void clearKeepsZerosButForgetsAddress();
    void editing_data();
    void editing();
    void zeroFieldLosesAndRegainsItsZero();
    void untouchedLeadingZeroIsDecimal();
    void disabledGreysDigitsAndHidesFrames();
    void touchBeeps_data();
    void touchBeeps();
    void keyboard();
    void movingOnToAnotherAddress();
    void unloadableDocument_data();
    void unloadableDocument();
    void repeatWithKeyboard();

private:
    QQuickTextInput *field(int index) const;
    QStringList fieldTexts() const;
    void touch(int index);
    void typeText(const QString &text);
    void pressKey(int key);
    void runSteps(const QStringList &steps);

    bool m_withKeyboard = false;
    std::unique_ptr<TestKeyboard> m_keyboard;
    QQmlEngine m_engine;
    QQuickWindow m_window;
    QQuickItem *m_elsewhere = nullptr; ///< an item that takes the focus away from the control
    CIpInput *m_input = nullptr;
};

void tst_CIpInput::initTestCase()
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

void tst_CIpInput::init()
{
    QVERIFY(PanelSimulator::loadStateJson(R"({"buzzer": true})"));
    PanelSimulator::clearCallLog();
    m_input = CIpInput::create(&m_engine, m_window.contentItem());
    QVERIFY(m_input);
    m_input->setPosition(QPointF(20, 20));
    m_input->setHeight(40);
    QVERIFY(field(0) && field(1) && field(2) && field(3));
}

void tst_CIpInput::cleanup()
{
    m_elsewhere->forceActiveFocus();
    delete m_input;
    m_input = nullptr;
}

QQuickTextInput *tst_CIpInput::field(int index) const
{
    const QByteArray name = "ipi" + QByteArray::number(index);
    return qobject_cast<QQuickTextInput *>(m_input->property(name.constData()).value<QObject *>());
}

QStringList tst_CIpInput::fieldTexts() const
{
    return {field(0)->text(), field(1)->text(), field(2)->text(), field(3)->text()};
}

void tst_CIpInput::touch(int index)
{
    QTest::mouseClick(&m_window, Qt::LeftButton, Qt::NoModifier, centreOf(field(index)));
}

void tst_CIpInput::typeText(const QString &text)
{
    for (const QChar c : text)
        QTest::keyClick(&m_window, c.toLatin1());
}

/// Also keys that Qt has no name for, such as the on-screen keyboard's hide key.
void tst_CIpInput::pressKey(int key)
{
    QTest::sendKeyEvent(QTest::Click, &m_window, Qt::Key(key), char(0), Qt::NoModifier);
}

/// Plays a little script: "touch:N" touches field N, "type:TEXT" types, "key:NAME" presses one key.
void tst_CIpInput::runSteps(const QStringList &steps)
{
    static const QHash<QString, int> keys{
        {QStringLiteral("Return"), Qt::Key_Return}, {QStringLiteral("Enter"), Qt::Key_Enter},
        {QStringLiteral("Escape"), Qt::Key_Escape}, {QStringLiteral("Hide"), 0x100000},
        {QStringLiteral("Clear"), Qt::Key_Clear},   {QStringLiteral("Backspace"), Qt::Key_Backspace}};
    for (const QString &step : steps) {
        const QString argument = step.section(QLatin1Char(':'), 1);
        if (step.startsWith(QLatin1String("touch:"))) {
            touch(argument.toInt());
            QVERIFY(field(argument.toInt())->hasActiveFocus());
            QVERIFY(m_input->editing());
        } else if (step.startsWith(QLatin1String("type:"))) {
            typeText(argument);
        } else if (step.startsWith(QLatin1String("key:"))) {
            QVERIFY2(keys.contains(argument), qPrintable(argument));
            pressKey(keys.value(argument));
        } else {
            QFAIL(qPrintable(QStringLiteral("unknown step ") + step));
        }
    }
}

void tst_CIpInput::createdFromDocument()
{
    QCOMPARE(m_input->parent(), m_window.contentItem());
    QCOMPARE(m_input->parentItem(), m_window.contentItem());
    QCOMPARE(m_input->ip(), QString());
    QCOMPARE(m_input->editing(), false);
    QCOMPARE(m_input->fontPixelSize(), 20);
    QCOMPARE(fieldTexts(), strings({"0", "0", "0", "0"}));

    // Four framed fields as wide as 1.528 heights, with a dot between each two.
    QQuickItem *row = field(0)->parentItem()->parentItem();
    QStringList shown;
    for (QQuickItem *child : row->childItems()) {
        if (auto *dot = qobject_cast<QQuickText *>(child))
            shown << dot->text();
        else
            shown << qobject_cast<QQuickTextInput *>(child->property("input").value<QObject *>())->text();
    }
    QCOMPARE(shown, strings({"0", "·", "0", "·", "0", "·", "0"}));
    QCOMPARE(field(2)->parentItem()->height(), 40.0);
    QCOMPARE(field(2)->parentItem()->width(), 40.0 * 1.528);
    QCOMPARE(field(2)->height(), 40.0);

    // The font size reaches the digits and the dots.
    QSignalSpy fontChanged(m_input, &CIpInput::fontPixelSizeChanged);
    QVERIFY(fontChanged.isValid());
    m_input->setFontPixelSize(20);
    QCOMPARE(fontChanged.count(), 0);
    m_input->setFontPixelSize(31);
    QCOMPARE(fontChanged.count(), 1);
    QCOMPARE(m_input->fontPixelSize(), 31);
    for (QQuickItem *child : row->childItems()) {
        auto *dot = qobject_cast<QQuickText *>(child);
        const QFont font = dot ? dot->font() : child->property("input").value<QQuickTextInput *>()->font();
        QCOMPARE(font.pixelSize(), 31);
    }
}

void tst_CIpInput::declaredInQml()
{
    // Cards may declare the document themselves, with the address and state as bindings.
    CIpInput::registerType();
    CIpInput::registerType();
    QQmlComponent component(&m_engine);
    component.setData(R"(
        import QtQuick 2.15
        import "qrc:/setting/flatui"
        Item {
            property alias input: _input
            IpInput { id: _input; height: 30; ip: "172.16.5.9"; enabled: false; fontPixelSize: 12 }
        })",
                      QUrl(QStringLiteral("qrc:/setting/card/Probe.qml")));
    std::unique_ptr<QObject> root(component.create());
    QVERIFY2(root, qPrintable(component.errorString()));
    auto *declared = qobject_cast<CIpInput *>(root->property("input").value<QObject *>());
    QVERIFY(declared);
    QCOMPARE(declared->ip(), QStringLiteral("172.16.5.9"));
    QStringList texts;
    for (const char *name : {"ipi0", "ipi1", "ipi2", "ipi3"}) {
        auto *input = qobject_cast<QQuickTextInput *>(declared->property(name).value<QObject *>());
        QVERIFY(input);
        texts << input->text();
        QCOMPARE(input->color(), QColor(0xB4, 0xB4, 0xB4));
        QCOMPARE(input->font().pixelSize(), 12);
    }
    QCOMPARE(texts, strings({"172", "16", "5", "9"}));
}

void tst_CIpInput::setIp_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<int>("changes");

    const QStringList before = strings({"172", "16", "0", "1"});
    const QString beforeIp = QStringLiteral("172.16.0.1");
    QTest::newRow("address") << QStringLiteral("10.0.0.1") << strings({"10", "0", "0", "1"})
                             << QStringLiteral("10.0.0.1") << 1;
    QTest::newRow("same address") << beforeIp << before << beforeIp << 0;
    QTest::newRow("broadcast") << QStringLiteral("255.255.255.255") << strings({"255", "255", "255", "255"})
                               << QStringLiteral("255.255.255.255") << 1;
    QTest::newRow("leading zeros") << QStringLiteral("010.0.0.08") << strings({"010", "0", "0", "08"})
                                   << QStringLiteral("010.0.0.08") << 1;
    QTest::newRow("empty") << QStringLiteral("") << before << beforeIp << 0;
    QTest::newRow("words") << QStringLiteral("gateway") << before << beforeIp << 0;
    QTest::newRow("number too large") << QStringLiteral("10.0.0.300") << before << beforeIp << 0;
    QTest::newRow("short form") << QStringLiteral("127.1") << before << beforeIp << 0;
    QTest::newRow("five parts") << QStringLiteral("1.2.3.4.5") << before << beforeIp << 0;
    QTest::newRow("IPv6") << QStringLiteral("::ffff:1.2.3.4") << before << beforeIp << 0;
    QTest::newRow("surrounding space") << QStringLiteral(" 10.0.0.1") << before << beforeIp << 0;
}

void tst_CIpInput::setIp()
{
    QFETCH(QString, text);
    QFETCH(QStringList, fields);
    QFETCH(QString, ip);
    QFETCH(int, changes);

    m_input->setIp(QStringLiteral("172.16.0.1"));
    QSignalSpy changed(m_input, &CIpInput::ipChanged);
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    QVERIFY(changed.isValid());
    QVERIFY(edited.isValid());

    m_input->setIp(text);
    QCOMPARE(fieldTexts(), fields);
    QCOMPARE(m_input->ip(), ip);
    QCOMPARE(changed.count(), changes);
    QCOMPARE(edited.count(), 0);
    QCOMPARE(m_input->editing(), false);
}

void tst_CIpInput::clearKeepsZerosButForgetsAddress()
{
    m_input->setIp(QStringLiteral("192.168.1.20"));
    QSignalSpy changed(m_input, &CIpInput::ipChanged);
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    QVERIFY(changed.isValid());
    QVERIFY(edited.isValid());

    m_input->clear();
    QCOMPARE(fieldTexts(), strings({"0", "0", "0", "0"}));
    QCOMPARE(m_input->ip(), QString());
    QCOMPARE(changed.count(), 1);
    m_input->clear();
    QCOMPARE(changed.count(), 1);

    // Touching and leaving the zeros now makes the address 0.0.0.0, which is news.
    runSteps({QStringLiteral("touch:1"), QStringLiteral("key:Return")});
    QCOMPARE(m_input->ip(), QStringLiteral("0.0.0.0"));
    QCOMPARE(changed.count(), 2);
    QCOMPARE(edited.count(), 1);
    QCOMPARE(edited.at(0).at(0).toUInt(), 0u);
}

void tst_CIpInput::editing_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<int>("edits");
    QTest::addColumn<quint32>("address");

    // Every row starts from 192.168.1.20.
    const QStringList unchanged = strings({"192", "168", "1", "20"});
    QTest::newRow("one number, Return") << strings({"touch:3", "type:50", "key:Return"})
                                        << strings({"192", "168", "1", "50"}) << 1 << quint32(0xC0A80132);
    QTest::newRow("one number, Enter") << strings({"touch:0", "type:10", "key:Enter"})
                                       << strings({"10", "168", "1", "20"}) << 1 << quint32(0x0AA80114);
    QTest::newRow("same number typed again")
        << strings({"touch:2", "type:1", "key:Return"}) << unchanged << 0 << quint32(0);
    QTest::newRow("touched, nothing typed")
        << strings({"touch:1", "key:Return"}) << unchanged << 0 << quint32(0);
    QTest::newRow("leading zero dropped") << strings({"touch:0", "type:010", "key:Return"})
                                          << strings({"10", "168", "1", "20"}) << 1 << quint32(0x0AA80114);
    QTest::newRow("digits beyond 255 refused")
        << strings({"touch:3", "type:300", "key:Return"}) << strings({"192", "168", "1", "30"}) << 1
        << quint32(0xC0A8011E);
    QTest::newRow("256 refused at the 6") << strings({"touch:0", "type:256", "key:Return"})
                                          << strings({"25", "168", "1", "20"}) << 1 << quint32(0x19A80114);
    QTest::newRow("letters, dots and signs refused")
        << strings({"touch:3", "type:a2.-5x", "key:Return"}) << strings({"192", "168", "1", "25"}) << 1
        << quint32(0xC0A80119);
    QTest::newRow("emptied number becomes 0")
        << strings({"touch:2", "key:Backspace", "key:Return"}) << strings({"192", "168", "0", "20"}) << 1
        << quint32(0xC0A80014);
    QTest::newRow("Clear key") << strings({"touch:2", "key:Clear", "key:Return"})
                               << strings({"192", "168", "0", "20"}) << 1 << quint32(0xC0A80014);
    QTest::newRow("Escape restores") << strings({"touch:3", "type:99", "key:Escape"}) << unchanged << 0
                                     << quint32(0);
    QTest::newRow("keyboard hide key restores")
        << strings({"touch:1", "type:7", "key:Hide"}) << unchanged << 0 << quint32(0);
    QTest::newRow("four numbers, one report")
        << strings({"touch:0", "type:10", "touch:1", "type:0", "touch:2", "type:0", "touch:3", "type:1",
                    "key:Return"})
        << strings({"10", "0", "0", "1"}) << 1 << quint32(0x0A000001);
    QTest::newRow("Escape in the second number keeps the first")
        << strings({"touch:0", "type:10", "touch:1", "type:99", "key:Escape"})
        << strings({"10", "168", "1", "20"}) << 1 << quint32(0x0AA80114);
    QTest::newRow("changed and changed back")
        << strings({"touch:3", "type:7", "touch:2", "touch:3", "type:20", "key:Return"}) << unchanged << 0
        << quint32(0);
}

void tst_CIpInput::editing()
{
    QFETCH(QStringList, steps);
    QFETCH(QStringList, fields);
    QFETCH(int, edits);
    QFETCH(quint32, address);

    m_input->setIp(QStringLiteral("192.168.1.20"));
    QSignalSpy changed(m_input, &CIpInput::ipChanged);
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    QSignalSpy editingChanged(m_input, &CIpInput::editingChanged);
    QVERIFY(changed.isValid());
    QVERIFY(edited.isValid());
    QVERIFY(editingChanged.isValid());

    runSteps(steps);
    if (QTest::currentTestFailed())
        return;

    QCOMPARE(m_input->editing(), false);
    QCOMPARE(editingChanged.count(), 2); // in once, out once, however many numbers were touched
    QCOMPARE(fieldTexts(), fields);
    QCOMPARE(m_input->ip(), fields.join(QLatin1Char('.')));
    QCOMPARE(changed.count(), edits);
    QCOMPARE(edited.count(), edits);
    if (edits)
        QCOMPARE(edited.at(0).at(0).toUInt(), address);
}

void tst_CIpInput::zeroFieldLosesAndRegainsItsZero()
{
    QQuickTextInput *zero = field(1);
    QStringList seen;
    connect(zero, &QQuickTextInput::textChanged, this, [&seen, zero] { seen << zero->text(); });

    runSteps({QStringLiteral("touch:1"), QStringLiteral("key:Return")});
    QCOMPARE(seen, strings({"", "0"}));
    QCOMPARE(zero->text(), QStringLiteral("0"));
    QCOMPARE(m_input->ip(), QStringLiteral("0.0.0.0"));
}

void tst_CIpInput::untouchedLeadingZeroIsDecimal()
{
    // 010 in a number the user did not touch still means ten, not eight.
    m_input->setIp(QStringLiteral("010.0.0.1"));
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    QVERIFY(edited.isValid());
    runSteps({QStringLiteral("touch:3"), QStringLiteral("type:9"), QStringLiteral("key:Return")});
    QCOMPARE(m_input->ip(), QStringLiteral("010.0.0.9"));
    QCOMPARE(edited.count(), 1);
    QCOMPARE(edited.at(0).at(0).toUInt(), 0x0A000009u);
}

void tst_CIpInput::disabledGreysDigitsAndHidesFrames()
{
    auto frameOf = [](QQuickTextInput *input) {
        return qobject_cast<QQuickRectangle *>(input->parentItem()->childItems().value(0));
    };
    QQuickItem *row = field(0)->parentItem()->parentItem();
    QVERIFY(frameOf(field(0)));

    m_input->setIp(QStringLiteral("10.1.2.3"));
    m_input->setEnabled(false);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(field(i)->isEnabled(), false);
        QCOMPARE(field(i)->color(), QColor(0xB4, 0xB4, 0xB4));
        QCOMPARE(frameOf(field(i))->isVisible(), false);
    }
    for (QQuickItem *child : row->childItems()) {
        if (qobject_cast<QQuickText *>(child))
            QVERIFY(child->isVisible());
    }

    // A disabled address cannot be touched.
    PanelSimulator::clearCallLog();
    touch(2);
    QCOMPARE(field(2)->hasActiveFocus(), false);
    QCOMPARE(m_input->editing(), false);
    QCOMPARE(beeps(), 0);

    m_input->setEnabled(true);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(field(i)->isEnabled(), true);
        QCOMPARE(field(i)->color(), QColor(0, 0, 0));
        QCOMPARE(frameOf(field(i))->isVisible(), true);
    }
    QCOMPARE(fieldTexts(), strings({"10", "1", "2", "3"}));

    // The frame of the number being edited is drawn in the focus colour.
    touch(2);
    QCOMPARE(frameOf(field(2))->border()->color(), QColor(QStringLiteral("#3269CE")));
    QCOMPARE(frameOf(field(1))->border()->color(), QColor(QStringLiteral("#E2E2E2")));
}

void tst_CIpInput::touchBeeps_data()
{
    QTest::addColumn<bool>("buzzer");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<int>("beeps");

    QTest::newRow("one number") << true << strings({"touch:0", "type:1", "key:Return"}) << 1;
    QTest::newRow("two numbers") << true << strings({"touch:0", "touch:3", "key:Escape"}) << 2;
    QTest::newRow("buzzer off") << false << strings({"touch:0", "touch:3", "key:Return"}) << 0;
}

void tst_CIpInput::touchBeeps()
{
    QFETCH(bool, buzzer);
    QFETCH(QStringList, steps);
    QFETCH(int, beeps);

    QVERIFY(PanelSimulator::loadStateJson(buzzer ? R"({"buzzer": true})" : R"({"buzzer": false})"));
    PanelSimulator::clearCallLog();
    runSteps(steps);
    QCOMPARE(::beeps(), beeps);
}

void tst_CIpInput::keyboard()
{
    QSP::VkbManager &vkb = QSP::VkbManager::instance();
    if (!m_withKeyboard) {
        // Without a keyboard plug-in, touching and editing work all the same.
        runSteps({QStringLiteral("touch:0"), QStringLiteral("type:7")});
        QCOMPARE(vkb.isVisible(), false);
        QTest::keyClick(&m_window, Qt::Key_Return);
        QCOMPARE(m_input->ip(), QStringLiteral("7.0.0.0"));
        return;
    }

    m_keyboard->setLayoutType(VkbLayout_Full);
    touch(0);
    QTRY_VERIFY(m_keyboard->isVisible());
    QCOMPARE(m_keyboard->layoutType(), VkbLayout_IPv4);

    // Moving on to the next number keeps the keyboard and the editing.
    typeText(QStringLiteral("10"));
    touch(1);
    QVERIFY(field(1)->hasActiveFocus());
    QVERIFY(m_input->editing());
    QVERIFY(m_keyboard->isVisible());
    typeText(QStringLiteral("20"));

    QTest::keyClick(&m_window, Qt::Key_Return);
    QTRY_VERIFY(!m_keyboard->isVisible());
    QCOMPARE(m_input->editing(), false);
    QCOMPARE(m_input->ip(), QStringLiteral("10.20.0.0"));

    // The keyboard's own hide key cancels and puts it away.
    touch(3);
    QTRY_VERIFY(m_keyboard->isVisible());
    typeText(QStringLiteral("9"));
    pressKey(0x100000);
    QTRY_VERIFY(!m_keyboard->isVisible());
    QCOMPARE(m_input->ip(), QStringLiteral("10.20.0.0"));
}

void tst_CIpInput::movingOnToAnotherAddress()
{
    std::unique_ptr<CIpInput> next(CIpInput::create(&m_engine, m_window.contentItem()));
    QVERIFY(next);
    next->setPosition(QPointF(20, 100));
    next->setHeight(40);
    auto *nextField = qobject_cast<QQuickTextInput *>(next->property("ipi2").value<QObject *>());
    QVERIFY(nextField);
    QSignalSpy edited(m_input, &CIpInput::ipChangedByEdit);
    QSignalSpy nextEdited(next.get(), &CIpInput::ipChangedByEdit);
    QVERIFY(edited.isValid());
    QVERIFY(nextEdited.isValid());

    runSteps({QStringLiteral("touch:0"), QStringLiteral("type:10")});
    QTest::mouseClick(&m_window, Qt::LeftButton, Qt::NoModifier, centreOf(nextField));

    // The first address is finished and reported; the second one is being edited, keyboard and all.
    QCOMPARE(m_input->editing(), false);
    QCOMPARE(edited.count(), 1);
    QCOMPARE(edited.at(0).at(0).toUInt(), 0x0A000000u);
    QVERIFY(nextField->hasActiveFocus());
    QVERIFY(next->editing());
    if (m_withKeyboard)
        QVERIFY(m_keyboard->isVisible());

    typeText(QStringLiteral("3"));
    pressKey(Qt::Key_Return);
    QCOMPARE(next->ip(), QStringLiteral("0.0.3.0"));
    QCOMPARE(nextEdited.count(), 1);
    if (m_withKeyboard)
        QTRY_VERIFY(!m_keyboard->isVisible());
}

void tst_CIpInput::unloadableDocument_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("warning");

    QTest::newRow("syntax error") << QByteArray("import QtQuick 2.15\nItem {\n")
                                  << QStringLiteral("IpInput.qml:");
    QTest::newRow("not the control") << QByteArray("import QtQuick 2.15\nItem {}\n")
                                     << QStringLiteral("did not make a CIpInput");
}

void tst_CIpInput::unloadableDocument()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, warning);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QFile file(dir.filePath(QStringLiteral("IpInput.qml")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(document);
    file.close();
    RedirectingInterceptor interceptor(QUrl(QStringLiteral("qrc:/setting/flatui/IpInput.qml")),
                                       QUrl::fromLocalFile(file.fileName()));
    {
        QQmlEngine engine;
        engine.setUrlInterceptor(&interceptor);
        WarningCounter counter;
        WarningCounter::count = 0;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(warning)));
        // Reported once, however many controls are asked for; no control is made.
        QCOMPARE(CIpInput::create(&engine, m_window.contentItem()), nullptr);
        QCOMPARE(CIpInput::create(&engine, m_window.contentItem()), nullptr);
        QCOMPARE(WarningCounter::count, 1);
    }

    // The host's engine still gets working controls.
    std::unique_ptr<QSP::CIpInput> control(QSP::CIpInput::create(&m_engine, m_window.contentItem()));
    QVERIFY(control);
    QVERIFY(control->property("ipi0").value<QObject *>());
}

void tst_CIpInput::repeatWithKeyboard()
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

QTEST_MAIN(tst_CIpInput)
#include "tst_cipinput.moc"
