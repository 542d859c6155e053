#include "AppRootItem.h"
#include "BeepButton.h"
#include "CardTime.h"
#include "CardWifi.h"
#include "Dialog.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"
#include "ScreenFixture.h"
#include "TimeEditPopup.h"

#include <QInputMethod>
#include <QQmlExpression>
#include <QQuickWindow>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtQuickTemplates2/private/qquickpopup_p.h>
#include <QtTest>

#include <cstring>
#include <memory>

using HMI::PanelSimulator;
using QSP::AppRootItem;

namespace {

// LAN0 with static addresses; one secured network nearby, not connected.
const char STATE[] = R"({
  "adapters": {"LAN0": {"enabled": true, "dhcp": false,
                        "static": {"ip": "10.1.1.20", "mask": "255.255.255.0", "gateway": "10.1.1.1"}},
               "WIFI": {"enabled": true, "dhcp": true}},
  "wifi": {"connected": null,
           "networks": [{"ssid": "Plant-Floor", "strength": 82, "secured": true, "secret": "line-4-floor"}]},
  "clockSettable": true,
  "delaysMs": {"scan": 0, "connect": 20, "dhcp": 20}})";

/// The visible, enabled text fields under @p item, in the order of the item tree.
QList<QQuickTextInput *> textFields(QQuickItem *item)
{
    QList<QQuickTextInput *> fields;
    if (!item->isVisible() || !item->isEnabled())
        return fields;
    if (auto *field = qobject_cast<QQuickTextInput *>(item))
        fields << field;
    for (QQuickItem *child : item->childItems())
        fields << textFields(child);
    return fields;
}

/// The visible key of the keyboard under @p item that types @p text, or null.
QQuickItem *keyOf(QQuickItem *item, const QString &text)
{
    if (!item->isVisible())
        return nullptr;
    if (item->property("key").isValid() && item->property("text").toString() == text)
        return item;
    for (QQuickItem *child : item->childItems()) {
        if (QQuickItem *key = keyOf(child, text))
            return key;
    }
    return nullptr;
}

/// What the screen wrote to the panel since the log was cleared, beeps aside.
QString written()
{
    QStringList lines;
    for (const std::string &line : PanelSimulator::callLog()) {
        if (line.rfind("beep", 0) != 0)
            lines << QString::fromStdString(line);
    }
    return lines.join(QLatin1Char('|'));
}

qreal topIn(QQuickItem *item, QQuickItem *root)
{
    return item->mapToItem(root, QPointF(0, 0)).y();
}

/// The place in the virtual table that a call of @p operation goes through (Itanium C++ ABI and its ARM
/// variant), or -1 when it is not virtual.
template<typename Operation>
int slotOf(Operation operation)
{
    struct Representation
    {
        std::uintptr_t ptr;
        std::ptrdiff_t adj;
    } representation{};
    static_assert(sizeof(operation) == sizeof(representation));
    std::memcpy(&representation, &operation, sizeof(representation));
#if defined(__arm__)
    if (!(representation.adj & 1))
        return -1;
    return int(representation.ptr / sizeof(void *));
#else
    if (!(representation.ptr & 1))
        return -1;
    return int((representation.ptr - 1) / sizeof(void *));
#endif
}

} // namespace

/// The real on-screen keyboard on the screen: Qt Virtual Keyboard, loaded by the loader from the plug-in
/// beside the settings library, typed on through its input engine as a finger types. A run with
/// TST_NO_KEYBOARD (the warning that says why there is none) checks the screen without a keyboard instead.
class tst_Keyboard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void loader();
    void addressFields_data();
    void addressFields();
    void passwordDialog();
    void timePopup();
    void closedAndNewScreen();

private:
    /// Touches the key that types @p text with a finger.
    bool tapKey(const QString &text);
    /// Qt Virtual Keyboard's input engine, which the keys drive.
    QObject *engine();
    /// Types @p keys on the keyboard's input engine; '\n' is its Enter key.
    void type(const QString &keys);
    /// Taps @p field; the keyboard comes up along the bottom edge, with @p hints on the field, and the field
    /// above it.
    void tapField(QQuickItem *field, Qt::InputMethodHints hints);
    QList<QQuickTextInput *> networkFields() { return textFields(m_f->card(AppRootItem::Card_Network)); }

    std::unique_ptr<ScreenFixture> m_f = std::make_unique<ScreenFixture>();
    VkbInterface *m_keyboard = nullptr;
    QPointer<QObject> m_engine; ///< made again with the keyboard's popup in a new window
};

void tst_Keyboard::initTestCase()
{
    QVERIFY(PanelSimulator::loadStateJson(STATE));
    const QStringList size =
        qEnvironmentVariable("TST_SCREEN", QStringLiteral("1024x600")).split(QLatin1Char('x'));
    QVERIFY(m_f->load(QSize(size.value(0).toInt(), size.value(1).toInt())));
    QVERIFY(m_f->showPage(AppRootItem::MI_Network));
    if (qEnvironmentVariableIsSet("TST_NO_KEYBOARD")) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(qEnvironmentVariable("TST_NO_KEYBOARD")));
        QVERIFY(!QVkbPluginLoader::instance()->vkb());
        // In its desktop mode Qt Virtual Keyboard would bring up a window of its own for the field.
        if (qEnvironmentVariableIsEmpty("QT_VIRTUALKEYBOARD_DESKTOP_DISABLE"))
            return;
        // The screen works as before, and keys typed still go in.
        QQuickTextInput *field = networkFields().at(0);
        QVERIFY(m_f->click(field));
        QVERIFY(field->hasActiveFocus());
        for (const char key : std::string("172.16.0.9\r"))
            QTest::keyClick(m_f->window(), key);
        QCOMPARE(ScreenFixture::calls("setIp 1 172.16.0.9 1"), 1);
        return;
    }
    m_keyboard = QVkbPluginLoader::instance()->vkb();
    QVERIFY(m_keyboard);
}

void tst_Keyboard::init()
{
    if (!m_keyboard)
        QSKIP("the run without a keyboard");
    PanelSimulator::clearCallLog();
}

void tst_Keyboard::loader()
{
    QCOMPARE(QFileInfo(QVkbPluginLoader::pluginPath()).absolutePath(),
             QFileInfo(QStringLiteral(QSP_PLUGIN_PATH)).absolutePath());
    QCOMPARE(QVkbPluginLoader::instance()->vkb(), m_keyboard); // loaded once
    // A screen built against the panel's own loader calls the keyboard through these places of its table.
    QCOMPARE(slotOf(&VkbInterface::init), 0);
    QCOMPARE(slotOf(&VkbInterface::popup), 1);
    QCOMPARE(slotOf(&VkbInterface::keyboardItem), 2);
    QCOMPARE(slotOf(&VkbInterface::setVisible), 3);
    QCOMPARE(slotOf(&VkbInterface::setLayoutType), 5);
    QCOMPARE(slotOf(&VkbInterface::isVisible), 7);
}

bool tst_Keyboard::tapKey(const QString &text)
{
    QQuickItem *key = keyOf(m_keyboard->keyboardItem(), text);
    if (!key)
        return false;
    static QTouchDevice *const finger = QTest::createTouchDevice();
    QWindow *window = m_f->window();
    const QPoint centre = ScreenFixture::centreOf(key);
    QTest::touchEvent(window, finger).press(0, centre, window);
    QTest::touchEvent(window, finger).release(0, centre, window);
    return true;
}

QObject *tst_Keyboard::engine()
{
    if (!m_engine) {
        QQuickItem *panel = m_keyboard->keyboardItem();
        QQmlExpression expression(qmlContext(panel), panel, QStringLiteral("InputContext.inputEngine"));
        m_engine = expression.evaluate().value<QObject *>();
    }
    return m_engine;
}

void tst_Keyboard::type(const QString &keys)
{
    for (const QChar c : keys) {
        const Qt::Key key = c == QLatin1Char('\n') ? Qt::Key_Return : Qt::Key(c.toUpper().unicode());
        bool typed = false;
        QVERIFY(QMetaObject::invokeMethod(engine(), "virtualKeyClick", Q_RETURN_ARG(bool, typed),
                                          Q_ARG(Qt::Key, key), Q_ARG(QString, QString(c)),
                                          Q_ARG(Qt::KeyboardModifiers, Qt::NoModifier)));
        QVERIFY2(typed, qPrintable(QString(c)));
    }
}

void tst_Keyboard::tapField(QQuickItem *field, Qt::InputMethodHints hints)
{
    QVERIFY(m_f->click(field));
    QTRY_VERIFY(m_keyboard->isVisible());
    QVERIFY(field->hasActiveFocus());
    QVERIFY(QGuiApplication::inputMethod()->isVisible());
    QInputMethodQueryEvent query(Qt::ImHints);
    QCoreApplication::sendEvent(field, &query);
    QCOMPARE(Qt::InputMethodHints(query.value(Qt::ImHints).toInt()) & hints, hints);
    // Along the bottom edge, in the middle, at most 40 % of the screen high, below the field.
    QQuickItem *root = m_f->root();
    QQuickItem *keys = m_keyboard->keyboardItem();
    QCOMPARE(topIn(keys, root) + keys->height(), root->height());
    QCOMPARE(keys->mapToItem(root, QPointF(keys->width() / 2, 0)).x(), root->width() / 2);
    QVERIFY(keys->height() <= root->height() * 0.4 + 0.5);
    QVERIFY2(topIn(field, root) + field->height() <= topIn(keys, root) + 0.5,
             qPrintable(QStringLiteral("field bottom %1, keyboard top %2")
                            .arg(topIn(field, root) + field->height())
                            .arg(topIn(keys, root))));
    // Its keys are there to be typed on.
    QTRY_VERIFY_WITH_TIMEOUT(engine() && engine()->property("inputMethod").value<QObject *>(), 20000);
}

void tst_Keyboard::addressFields_data()
{
    QTest::addColumn<int>("field");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("written");
    // A dot in a field that holds digits goes on to the next field; Enter ends the edit, which writes. The
    // keyboard's hide key ends it as Escape does: the field shows its old value again.
    QTest::newRow("address") << 0 << "192.168.1.70\n"
                             << "setIp 1 192.168.1.70 1";
    QTest::newRow("mask") << 4 << "255.255.0.0\n"
                          << "setSubnetMask 1 255.255.0.0 1";
    QTest::newRow("gateway") << 8 << "192.168.1.1\n"
                             << "setGateway 1 192.168.1.1 1";
    QTest::newRow("hide key") << 8 << "9"
                              << "";
}

void tst_Keyboard::addressFields()
{
    QFETCH(int, field);
    QFETCH(QString, keys);
    QQuickItem *column = m_f->root()->getCardContainer();
    QCOMPARE(column->y(), 0.0);
    QQuickTextInput *input = networkFields().value(field);
    QVERIFY(input);
    const QString before = input->text();
    tapField(input, Qt::ImhFormattedNumbersOnly);
    type(keys);
    if (!keys.endsWith(QLatin1Char('\n'))) {
        QCOMPARE(input->text(), keys);
        QGuiApplication::inputMethod()->hide(); // what the keyboard's hide key does
        QTRY_COMPARE(input->text(), before);
    }
    QTRY_VERIFY(!m_keyboard->isVisible());
    QVERIFY(!input->hasActiveFocus());
    QCOMPARE(column->y(), 0.0);
    QTEST(written(), "written");
}

void tst_Keyboard::passwordDialog()
{
    m_f->root()->setCurrentPage(AppRootItem::MI_Wifi);
    auto *card = qobject_cast<QSP::CardWifi *>(m_f->card(AppRootItem::Card_Wifi));
    QVERIFY(card);
    QTRY_COMPARE(card->wifiList().size(), 1);
    QTRY_COMPARE(card->state(), QSP::CardWifi::Idle);
    QVERIFY(m_f->clickButton(m_f->root()->findChild<QQuickItem *>(QStringLiteral("wifiRow0"))));
    QSP::Dialog *dialog = card->passwordDialog();
    QTRY_VERIFY(dialog && dialog->isOpened());
    const qreal centred = dialog->y();

    auto *password = dialog->bodyItem()->findChild<QQuickTextInput *>();
    tapField(password, Qt::ImhSensitiveData | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    // The dialog moves up, above the keyboard.
    QVERIFY(dialog->y() < centred);
    QVERIFY(dialog->y() + dialog->height() <= topIn(m_keyboard->keyboardItem(), m_f->root()));
    QVERIFY(tapKey(QStringLiteral("l"))); // a finger reaches the keys over the modal dialog
    type(QStringLiteral("ine-4-floor"));
    QCOMPARE(password->text(), QStringLiteral("line-4-floor"));

    QQuickItem *connectText = ScreenFixture::findText(dialog->popupItem(), QStringLiteral("Connect"));
    QVERIFY(connectText && m_f->clickButton(connectText->parentItem()));
    QCOMPARE(ScreenFixture::calls("connectWifi \"Plant-Floor\" pw=12"), 1);
    QTRY_VERIFY(QSP::CardWifi::isConnected());
    QTRY_VERIFY(!dialog->isVisible());
    QTRY_VERIFY(!m_keyboard->isVisible());
    m_f->root()->setCurrentPage(AppRootItem::MI_Network);
}

void tst_Keyboard::timePopup()
{
    QVERIFY(m_f->showPage(AppRootItem::MI_General));
    QQuickItem *card = m_f->card(AppRootItem::Card_Time);
    QVERIFY(m_f->clickButton(card->findChild<QQuickAbstractButton *>()));
    auto *popup = card->findChild<QSP::TimeEditPopup *>();
    QTRY_VERIFY(popup && popup->isOpened());
    const QStringList typed{QStringLiteral("2030"), QStringLiteral("5"), QStringLiteral("17"),
                            QStringLiteral("8"),    QStringLiteral("9"), QStringLiteral("10")};
    for (int field = QSP::TimeEditPopup::Year; field <= QSP::TimeEditPopup::Second; ++field) {
        QQuickTextInput *input = popup->inputField(QSP::TimeEditPopup::InputType(field));
        tapField(input, Qt::ImhDigitsOnly);
        type(typed.at(field));
        QCOMPARE(input->text(), typed.at(field));
    }
    QVERIFY(m_f->clickButton(popup->confirmButton()));
    const QDateTime chosen(QDate(2030, 5, 17), QTime(8, 9, 10));
    QCOMPARE(ScreenFixture::calls("setSystemTime " + std::to_string(chosen.toSecsSinceEpoch())), 1);
    QTRY_VERIFY(!popup->isVisible());
    QTRY_VERIFY(!m_keyboard->isVisible());
}

void tst_Keyboard::closedAndNewScreen()
{
    // Closing the screen puts the keyboard away.
    QVERIFY(m_f->showPage(AppRootItem::MI_Network));
    tapField(networkFields().at(0), Qt::ImhFormattedNumbersOnly);
    m_f->close();
    QVERIFY(!m_keyboard->isVisible());
    QVERIFY(!QGuiApplication::inputMethod()->isVisible());
    QCOMPARE(m_f->root()->getCardContainer()->y(), 0.0);
    m_f->open();
    QVERIFY(m_f->showPage(AppRootItem::MI_Network));
    // The host deletes the screen while the keyboard is up and builds a new one in a new window.
    tapField(networkFields().at(0), Qt::ImhFormattedNumbersOnly);
    delete m_f->root();
    const auto closeInstance = reinterpret_cast<PlexaCloseInstanceFn>(
        QLibrary(QStringLiteral(QSP_PLUGIN_PATH)).resolve("PlexaCloseInstance"));
    QVERIFY(closeInstance);
    closeInstance();
    m_f = std::make_unique<ScreenFixture>();
    QVERIFY(!m_keyboard->isVisible());
    QVERIFY(m_f->load(QSize(800, 1280)));
    QVERIFY(m_f->showPage(AppRootItem::MI_Network));
    tapField(networkFields().at(0), Qt::ImhFormattedNumbersOnly);
    QCOMPARE(m_keyboard->popup()->window(), m_f->window());
}

QTEST_MAIN(tst_Keyboard)
#include "tst_keyboard.moc"
