#include "AppRootItem.h"
#include "CardWifi.h"
#include "Dialog.h"
#include "GlobalInfo.h"
#include "MeyerSingleton.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"
#include "ScreenFixture.h"
#include "TestKeyboard.h"

#include <QQuickWindow>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuick/private/qquickwindow_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtTest>

#include <algorithm>

using HMI::PanelSimulator;
using QSP::AppRootItem;
using QSP::CardWifi;

namespace {

// Scan order: a duplicate name, a GB2312 name (你好), an open network, a known wrong password, one that
// always times out, a 32-byte name. The Wi-Fi adapter has a DHCP lease.
const char NETWORKS[] = R"({
  "adapters": {"LAN0": {"enabled": true},
               "WIFI": {"enabled": true, "dhcp": true, "lease": {"ip": "172.16.4.33"}}},
  "wifi": {"connected": null, "networks": [
    {"ssid": "Office", "strength": 80, "secured": true, "secret": "welcome1"},
    {"ssidHex": "c4e3bac3", "strength": 79, "secured": true, "secret": "k"},
    {"ssid": "Guest", "strength": 60, "secured": false},
    {"ssid": "Office", "strength": 59, "secured": true, "secret": "welcome1"},
    {"ssid": "Known", "strength": 40, "secured": true, "password": "wrong", "secret": "right"},
    {"ssid": "Slow", "strength": 39, "secured": true, "result": 3},
    {"ssid": "0123456789abcdef0123456789ABCDEF", "strength": 0, "secured": false}]},
  "delaysMs": {"scan": 40, "reset": 40, "connect": 40, "dhcp": 150}})";
const char NO_NETWORKS[] = R"({"wifi": {"connected": null, "networks": []}})";

const QString GB_NAME = QString::fromUtf8("\xe4\xbd\xa0\xe5\xa5\xbd");

QByteArray networks(const char *from, const char *to)
{
    return QByteArray(NETWORKS).replace(from, to);
}

QQuickAbstractButton *buttonAround(QQuickItem *item)
{
    while (item && !qobject_cast<QQuickAbstractButton *>(item))
        item = item->parentItem();
    return qobject_cast<QQuickAbstractButton *>(item);
}

} // namespace

class tst_WifiPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void nearbyList();
    void connectedRow();
    void busyCardRefusesRefreshAndReset();
    void resetClearsAndRescans();
    void passwordDialog();
    void connectionOutcome_data();
    void connectionOutcome();
    void newConnectionWithoutAddressSwitchesDhcpOn();
    void keyboardMovesDialog_data();
    void keyboardMovesDialog();
    void goneNetworkOpensNothing();
    void callbacksHandledOnGuiThread();
    void returnButtonLeadsToNetworkPage();

private:
    void rescan(const char *json = NETWORKS);
    bool tap(QQuickItem *item);
    QList<QQuickItem *> rows() const
    {
        return m_card->property("layout").value<QQuickItem *>()->childItems().mid(4);
    }
    QStringList rowTexts(bool shownOnly) const;
    void tapRow(int index) { QVERIFY(tap(rows().value(index)->findChild<QQuickAbstractButton *>())); }
    QQuickText *currentName() const
    {
        return m_card->property("current").value<QQuickItem *>()->findChild<QQuickText *>();
    }
    QQuickItem *spinner() const { return m_card->property("scaning").value<QQuickItem *>(); }
    QQuickText *dialogText(const QString &text) const
    {
        return qobject_cast<QQuickText *>(
            ScreenFixture::findText(m_card->passwordDialog()->popupItem(), text));
    }
    QQuickTextInput *input() const
    {
        return m_card->passwordDialog()->bodyItem()->findChild<QQuickTextInput *>();
    }
    bool dialogOpen() const { return m_card->passwordDialog() && m_card->passwordDialog()->isVisible(); }
    bool bodyShown() const { return m_card->passwordDialog()->bodyItem()->isVisible(); }
    void typePassword(const QString &password);
    void clickConnect() { QVERIFY(tap(buttonAround(dialogText(QStringLiteral("Connect"))))); }

    ScreenFixture m_f;
    TestKeyboard m_keyboard;
    CardWifi *m_card = nullptr;
};

void tst_WifiPage::initTestCase()
{
    QVkbPluginLoader::instance()->setVkb(&m_keyboard);
    QVERIFY(PanelSimulator::loadStateJson(NETWORKS));
    const QStringList size =
        qEnvironmentVariable("TST_SCREEN", QStringLiteral("1024x600")).split(QLatin1Char('x'));
    QVERIFY(m_f.load(QSize(size.value(0).toInt(), size.value(1).toInt())));
    QVERIFY(m_f.showPage(AppRootItem::MI_Network));
    m_f.root()->setCurrentPage(AppRootItem::MI_Wifi);
    m_card = qobject_cast<CardWifi *>(m_f.card(AppRootItem::Card_Wifi));
    QVERIFY(m_card && m_card->isVisible());
    QTRY_COMPARE(m_card->state(), CardWifi::Idle);
    QCOMPARE(m_card->returnButton(), m_f.root()->findChild<QQuickItem *>(QStringLiteral("wifiReturnButton")));
    QVERIFY(m_card->returnButton()->isVisible());
}

void tst_WifiPage::cleanup()
{
    QVERIFY(PanelSimulator::waitForIdle());
    QTRY_VERIFY(m_card->state() != CardWifi::Scanning && m_card->state() != CardWifi::Connecting);
    if (m_card->passwordDialog())
        m_card->passwordDialog()->close();
    QTRY_VERIFY(!dialogOpen());
}

void tst_WifiPage::rescan(const char *json)
{
    QVERIFY(PanelSimulator::loadStateJson(json));
    PanelSimulator::clearCallLog();
    QVERIFY(tap(m_card->property("scanButton").value<QQuickItem *>()));
    QCOMPARE(ScreenFixture::calls("scanWifi"), 1);
    QTRY_COMPARE(m_card->state(), CardWifi::Idle);
}

/// Clicks @p item where the next frame shows it: rows just made are placed when the window polishes.
bool tst_WifiPage::tap(QQuickItem *item)
{
    QQuickWindowPrivate::get(m_f.window())->polishItems();
    return m_f.clickButton(item);
}

QStringList tst_WifiPage::rowTexts(bool shownOnly) const
{
    QStringList texts;
    for (QQuickItem *row : rows()) {
        if (!shownOnly || row->isVisible())
            texts << row->findChild<QQuickText *>()->text();
    }
    return texts;
}

void tst_WifiPage::typePassword(const QString &password)
{
    QQuickWindowPrivate::get(m_f.window())->polishItems();
    QVERIFY(m_f.click(input()));
    QTRY_VERIFY(input()->hasActiveFocus());
    for (const QChar c : password)
        QTest::keyClick(m_f.window(), c.toLatin1());
    QCOMPARE(input()->text(), password);
}

void tst_WifiPage::nearbyList()
{
    rescan();
    // Scan order and duplicates kept, GB2312 decoded, the 32-byte name cut at 32 bytes.
    QCOMPARE(rowTexts(true),
             QStringList({QStringLiteral("Office"), GB_NAME, QStringLiteral("Guest"),
                          QStringLiteral("Office"), QStringLiteral("Known"), QStringLiteral("Slow"),
                          QStringLiteral("0123456789abcdef0123456789ABCDEF")}));
    QString levels; // signal icons: 80 and up, 60 to 79, 40 to 59, below 40
    for (QQuickItem *row : rows())
        levels += row->findChild<QQuickImage *>()->source().toString().section(QLatin1Char('/'), -1).left(1);
    QCOMPARE(levels, QStringLiteral("4332211"));

    rescan(R"({"wifi": {"connected": null, "scan": "null"}})"); // a null result: no rows, idle
    QVERIFY(rows().isEmpty());
    QVERIFY(!spinner()->isVisible());

    // The white card reaches down to the bottom of the screen however short the list.
    const int screenHeight = QSP::GlobalInfo::instance().screenSize().height();
    QCOMPARE(m_card->height(), qreal(screenHeight - 20 - m_f.root()->titleHeight()));
    QCOMPARE(m_card->background()->height(), m_card->height());
}

void tst_WifiPage::connectedRow()
{
    QByteArray json = networks(R"("connected": null)", R"("connected": "Office", "strength": 65)");
    rescan(json);
    QCOMPARE(rowTexts(true).size(), 5); // both "Office" rows hidden
    QQuickText *name = currentName();
    QVERIFY(name->isVisible());
    QCOMPARE(name->text(), QStringLiteral("Office"));
    QCOMPARE(name->color(), QColor(QLatin1String("#3269CE")));
    const auto images = m_card->property("current").value<QQuickItem *>()->findChildren<QQuickImage *>();
    QCOMPARE(images.size(), 2);
    QCOMPARE(images.at(0)->source().toString(), QStringLiteral("qrc:/setting/icons/3@2x.png"));
    QVERIFY(images.at(1)->isVisible()); // the tick

    rescan(json.replace(R"("strength": 65)", R"("strength": 0)")); // below 1: the icon stays
    QCOMPARE(images.at(0)->source().toString(), QStringLiteral("qrc:/setting/icons/3@2x.png"));

    // The network card reports the connection gone: the row empties and "Office" is offered again.
    QVERIFY(PanelSimulator::loadStateJson(NETWORKS));
    QQuickItem *network = m_f.card(AppRootItem::Card_Network);
    if (network && network->metaObject()->indexOfSignal("wifiStatusChanged(bool,QString)") >= 0)
        QVERIFY(
            QMetaObject::invokeMethod(network, "wifiStatusChanged", Q_ARG(bool, false), Q_ARG(QString, {})));
    else
        QVERIFY(QMetaObject::invokeMethod(m_card, "updateCurrentWifi"));
    QVERIFY(!name->isVisible() && !images.at(0)->isVisible() && !images.at(1)->isVisible());
    QCOMPARE(rowTexts(true).size(), 7);
}

void tst_WifiPage::busyCardRefusesRefreshAndReset()
{
    rescan(networks(R"("connected": null)", R"("connected": "Guest")"));
    const QByteArray slowScan = networks(R"("scan": 40)", R"("scan": 400)").replace("null", "\"Guest\"");
    QVERIFY(PanelSimulator::loadStateJson(slowScan.constData()));
    auto *scan = qobject_cast<QQuickAbstractButton *>(m_card->property("scanButton").value<QQuickItem *>());
    QQuickAbstractButton *reset = buttonAround(ScreenFixture::findText(m_card, QStringLiteral("Reset")));
    PanelSimulator::clearCallLog();
    QVERIFY(tap(scan));
    QCOMPARE(m_card->state(), CardWifi::Scanning);
    QVERIFY(spinner()->isVisible());
    QCOMPARE(spinner()->parentItem(), m_card->property("nearWlanTxt").value<QQuickItem *>());

    // Refresh and Reset are disabled and faded: taps reach neither.
    QVERIFY(!scan->isEnabled() && !reset->isEnabled());
    QCOMPARE(reset->opacity(), 0.4);
    QCOMPARE(m_card->property("scanButtonImage").value<QQuickItem *>()->opacity(), 0.4);
    QVERIFY(!tap(scan) && !tap(reset));
    // A reset asked for anyway only clears the list and the connected row.
    Q_EMIT m_card->wifiReset();
    QVERIFY(rows().isEmpty());
    QVERIFY(!currentName()->isVisible());
    QCOMPARE(ScreenFixture::calls("scanWifi") + ScreenFixture::calls("resetWifi"), 1);

    QTRY_COMPARE(m_card->state(), CardWifi::Idle);
    QCOMPARE(rows().size(), 7);
    QVERIFY(scan->isEnabled() && reset->isEnabled());
    QCOMPARE(reset->opacity(), 1.0);
    QVERIFY(!spinner()->isVisible());
}

void tst_WifiPage::resetClearsAndRescans()
{
    rescan(networks(R"("connected": null)", R"("connected": "Guest")"));
    QVERIFY(currentName()->isVisible());
    PanelSimulator::clearCallLog();
    QVERIFY(tap(buttonAround(ScreenFixture::findText(m_card, QStringLiteral("Reset")))));
    QCOMPARE(ScreenFixture::calls("resetWifi"), 1);
    QCOMPARE(m_card->state(), CardWifi::Scanning);
    QVERIFY(rows().isEmpty() && !currentName()->isVisible());
    QTRY_COMPARE(m_card->state(), CardWifi::Idle);
    QCOMPARE(rowTexts(true).size(), 7); // the reset dropped the connection: every network listed
}

void tst_WifiPage::passwordDialog()
{
    rescan();
    PanelSimulator::clearCallLog();
    tapRow(1); // 你好: secured, no password known, so the dialog asks
    QVERIFY(dialogOpen());
    QSP::Dialog *dialog = m_card->passwordDialog();
    QCOMPARE(dialog->title(), GB_NAME);
    QVERIFY(dialog->enableCloseButton() && bodyShown());
    QCOMPARE(dialogText(QStringLiteral("Enter password"))->color(), QColor(Qt::black));
    QCOMPARE(dialog->x(), (m_f.root()->width() - dialog->width()) / 2);
    QCOMPARE(ScreenFixture::calls("connectWifi"), 0);

    typePassword(QStringLiteral("k"));
    QCOMPARE(input()->echoMode(), QQuickTextInput::Password);
    QQuickAbstractButton *show = buttonAround(dialogText(QStringLiteral("Show Password")));
    QVERIFY(tap(show));
    QCOMPARE(input()->echoMode(), QQuickTextInput::Normal);
    QVERIFY(input()->hasActiveFocus()); // the check box leaves the field and the keyboard alone

    clickConnect();
    QCOMPARE(ScreenFixture::calls("connectWifi \"hex:c4e3bac3\" pw=1"), 1);
    QCOMPARE(m_card->state(), CardWifi::Connecting);
    QVERIFY(!bodyShown());
    QQuickText *message = dialogText(QStringLiteral("Connecting"));
    QCOMPARE(message->color(), QColor(QLatin1String("#3269CE")));
    QCOMPARE(spinner()->parentItem(), message);
    QVERIFY(spinner()->isVisible());

    // Connected with an address: the dialog closes; the connected name is read as UTF-8 only.
    QTRY_VERIFY(!dialogOpen());
    QCOMPARE(m_card->state(), CardWifi::Online);
    QCOMPARE(currentName()->text(), QString::fromUtf8("\xc4\xe3\xba\xc3"));
    QCOMPARE(ScreenFixture::calls("setDHCP"), 0);
    QCOMPARE(input()->text(), QString());

    // A late "connecting" report puts the card back to Connecting; unknown reports change nothing.
    m_card->onConnectResult(HMI::SystemSet::WIFI_CONNECTING);
    QCOMPARE(m_card->state(), CardWifi::Connecting);
    QVERIFY(QQuickItemPrivate::get(spinner())->explicitVisible);
    m_card->onConnectResult(static_cast<HMI::SystemSet::StateWifi>(7));
    QCOMPARE(m_card->state(), CardWifi::Connecting);
    m_card->onConnectResult(HMI::SystemSet::WIFI_TIMEOUT);

    // The dialog is reused, and "Show Password" keeps its state.
    tapRow(0);
    QCOMPARE(dialog->title(), QStringLiteral("Office"));
    QCOMPARE(input()->echoMode(), QQuickTextInput::Normal);
    QVERIFY(tap(show));
    QCOMPARE(input()->echoMode(), QQuickTextInput::Password);
}

void tst_WifiPage::connectionOutcome_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("typed"); // null: the tap itself connects
    QTest::addColumn<bool>("gone");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("outcome"); // empty: connected and closed

    QTest::newRow("open network") << 2 << QString() << false << "\"Guest\" pw=0" << QString();
    QTest::newRow("known password") << 4 << QString() << false << "\"Known\" pw=5"
                                    << "Wrong password";
    QTest::newRow("typed password") << 0 << "nope" << false << "\"Office\" pw=4"
                                    << "Wrong password";
    QTest::newRow("time out") << 5 << "x" << false << "\"Slow\" pw=1"
                              << "Time out";
    QTest::newRow("empty, offline") << 0 << "" << true << "\"Office\" pw=0"
                                    << "Wi-Fi Offline";
}

void tst_WifiPage::connectionOutcome()
{
    QFETCH(int, row);
    QFETCH(QString, typed);
    QFETCH(bool, gone);
    QFETCH(QString, call);
    QFETCH(QString, outcome);

    rescan();
    if (gone)
        QVERIFY(PanelSimulator::loadStateJson(NO_NETWORKS));
    PanelSimulator::clearCallLog();
    tapRow(row);
    QVERIFY(dialogOpen());
    if (typed.isNull()) {
        QVERIFY(!bodyShown());
        QVERIFY(dialogText(QStringLiteral("Connecting")));
    } else {
        if (!typed.isEmpty())
            typePassword(typed);
        clickConnect();
    }
    QCOMPARE(ScreenFixture::calls("connectWifi " + call.toStdString()), 1);

    if (outcome.isEmpty()) {
        QTRY_VERIFY(!dialogOpen());
        QVERIFY(!rowTexts(true).contains(currentName()->text()));
        return;
    }
    // The dialog stays, in red, with the body and the password back for another try.
    QTRY_VERIFY(dialogText(outcome));
    QCOMPARE(dialogText(outcome)->color(), QColor(Qt::red));
    QVERIFY(dialogOpen() && bodyShown());
    QCOMPARE(input()->text(), typed.isNull() ? QString() : typed);
    QCOMPARE(ScreenFixture::calls("scanWifi"), gone ? 1 : 0); // offline scans again
}

void tst_WifiPage::newConnectionWithoutAddressSwitchesDhcpOn()
{
    rescan(networks(R"("dhcp": true, "lease": {"ip": "172.16.4.33"})", R"("dhcp": false)"));
    PanelSimulator::clearCallLog();
    QSignalSpy connected(m_card, &CardWifi::connectedChanged);
    QVERIFY(connected.isValid());
    tapRow(2);
    QTRY_COMPARE(m_card->state(), CardWifi::Online);
    QCOMPARE(ScreenFixture::calls("setDHCP 4 1 1"), 1);
    QVERIFY(dialogOpen()); // until DHCP reports
    QCOMPARE(connected.count(), 0);
    QTRY_VERIFY(!dialogOpen());
    QCOMPARE(connected.count(), 1);
    QCOMPARE(connected.first().first().toBool(), true);
    QCOMPARE(currentName()->text(), QStringLiteral("Guest"));
}

void tst_WifiPage::keyboardMovesDialog_data()
{
    QTest::addColumn<qreal>("keyboardHeight");
    QTest::newRow("room above") << qreal(240);
    QTest::newRow("too tall") << qreal(500);
}

void tst_WifiPage::keyboardMovesDialog()
{
    QFETCH(qreal, keyboardHeight);
    if (QQuickItem *keys = m_keyboard.keyboardItem()) // made 240 high with the first showing
        keys->setHeight(keyboardHeight);
    rescan();
    tapRow(0);
    QSP::Dialog *dialog = m_card->passwordDialog();
    const qreal middle = int((m_f.root()->height() - dialog->height()) / 2);
    QCOMPARE(dialog->y(), middle);

    PanelSimulator::clearCallLog();
    typePassword(QString());
    QTRY_VERIFY(m_keyboard.isVisible());
    QCOMPARE(m_keyboard.layoutType(), VkbLayout_Full);
    QCOMPARE(ScreenFixture::calls("beep 1"), MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn() ? 1 : 0);
    const int above = int((m_f.root()->height() - keyboardHeight - dialog->height()) / 2);
    QCOMPARE(dialog->y(), qreal(above < 0 ? 25 : above));

    QTest::keyClick(m_f.window(), Qt::Key_Return); // ends the editing
    QVERIFY(!input()->hasActiveFocus());
    QTRY_VERIFY(!m_keyboard.isVisible());
    QCOMPARE(dialog->y(), middle);
    QVERIFY(dialogOpen());
}

void tst_WifiPage::goneNetworkOpensNothing()
{
    rescan();
    m_card->onClickWifiItem(99);
    QVERIFY(!dialogOpen());
    // The dialog is open for a network that the next scan no longer finds: Connect does nothing.
    tapRow(0);
    QVERIFY(PanelSimulator::loadStateJson(NO_NETWORKS));
    m_card->onClickScanWifi();
    QTRY_COMPARE(m_card->state(), CardWifi::Idle);
    PanelSimulator::clearCallLog();
    clickConnect();
    QCOMPARE(ScreenFixture::calls("connectWifi"), 0);
}

void tst_WifiPage::callbacksHandledOnGuiThread()
{
    std::vector<bool> onWorker;
    PanelSimulator::setCallObserver(
        [&](const std::string &) { onWorker.push_back(PanelSimulator::isCallbackThread()); });
    std::vector<bool> onGui;
    const auto watch = connect(
        m_card, &CardWifi::cardStateChanged, this,
        [&] { onGui.push_back(QThread::currentThread() == qApp->thread()); }, Qt::DirectConnection);

    rescan();
    tapRow(0);
    clickConnect();
    QTRY_VERIFY(dialogText(QStringLiteral("Wrong password")));
    QVERIFY(PanelSimulator::loadStateJson(NO_NETWORKS));
    clickConnect(); // offline: the result handler scans again
    QTRY_VERIFY(dialogText(QStringLiteral("Wi-Fi Offline")));
    QTRY_COMPARE(m_card->state(), CardWifi::Idle);
    PanelSimulator::setCallObserver({});
    disconnect(watch);

    QVERIFY(onWorker.size() >= 4);
    QVERIFY(std::none_of(onWorker.begin(), onWorker.end(), [](bool worker) { return worker; }));
    QVERIFY(onGui.size() >= 6);
    QVERIFY(std::all_of(onGui.begin(), onGui.end(), [](bool gui) { return gui; }));
}

void tst_WifiPage::returnButtonLeadsToNetworkPage()
{
    QQuickItem *back = m_card->returnButton();
    QVERIFY(tap(back));
    QCOMPARE(m_f.root()->currentPage(), AppRootItem::MI_Network);
    QVERIFY(!m_card->isVisible() && !back->isVisible());
    m_f.root()->setCurrentPage(AppRootItem::MI_Wifi);
    QVERIFY(m_card->isVisible() && back->isVisible());
    QCOMPARE(m_f.card(AppRootItem::Card_Wifi), m_card);
}

QTEST_MAIN(tst_WifiPage)
#include "tst_wifipage.moc"
