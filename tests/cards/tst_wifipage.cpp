#include "AppRootItem.h"
#include "CardWifi.h"
#include "Dialog.h"
#include "MeyerSingleton.h"
#include "PanelSimulator.h"
#include "QVkbPluginLoader.h"
#include "ScreenFixture.h"
#include "TestKeyboard.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickWindow>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtTest>

#include <atomic>

using HMI::PanelSimulator;
using QSP::AppRootItem;
using QSP::CardWifi;

namespace {

QString operator""_s(const char *text, std::size_t size)
{
    return QString::fromUtf8(text, int(size));
}

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

const QString GB_NAME = "你好"_s;
const QStringList SCANNED = {
    "Office"_s, GB_NAME, "Guest"_s, "Office"_s, "Known"_s, "Slow"_s, "0123456789abcdef0123456789ABCDEF"_s};

QByteArray networks(const char *from, const char *to)
{
    return QByteArray(NETWORKS).replace(from, to);
}

/// A scan that finds @p count secured networks named "Net 0", "Net 1", ..., listed in @p names.
QByteArray crowd(int count, QStringList &names)
{
    QJsonArray found;
    for (int i = 0; i < count; ++i) {
        names << "Net %1"_s.arg(i);
        found << QJsonObject{{"ssid"_s, names.last()}, {"strength"_s, i % 101}, {"secured"_s, true}};
    }
    const QJsonObject wifi{{"connected"_s, QJsonValue::Null}, {"networks"_s, found}};
    return QJsonDocument(QJsonObject{{"wifi"_s, wifi}}).toJson(QJsonDocument::Compact);
}

/// @p text as a JSON string.
QByteArray quoted(const QString &text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

QQuickAbstractButton *buttonAround(QQuickItem *item)
{
    while (item && !qobject_cast<QQuickAbstractButton *>(item))
        item = item->parentItem();
    return qobject_cast<QQuickAbstractButton *>(item);
}

} // namespace

/// The Wi-Fi page as a person uses it: the nearby list, the connected row, scan and reset, the password
/// dialog and the outcomes of connecting.
class tst_WifiPage : public QObject
{
    Q_OBJECT

    ScreenFixture m_f;
    TestKeyboard m_keyboard;
    CardWifi *m_card = nullptr;
    std::atomic<int> m_offGuiThread{0}; ///< panel calls or state changes made on another thread

    void rescan(const char *json = NETWORKS)
    {
        QVERIFY(PanelSimulator::loadStateJson(json));
        PanelSimulator::clearCallLog();
        QVERIFY(m_f.clickButton(m_card->property("scanButton").value<QQuickItem *>()));
        QCOMPARE(ScreenFixture::calls("scanWifi"), 1);
        QTRY_COMPARE(m_card->state(), CardWifi::Idle);
    }
    /// The rows of the nearby networks listed, in list order.
    QList<QQuickItem *> rows() const
    {
        QList<QQuickItem *> items;
        for (const CardWifi::WIFI_INFO &entry : m_card->wifiList())
            items << entry.item;
        return items;
    }
    /// The names shown below the fixed rows of the card's column.
    QStringList shownRows() const
    {
        QStringList texts;
        for (QQuickItem *row : m_card->property("layout").value<QQuickItem *>()->childItems().mid(4))
            texts << ScreenFixture::visibleTexts(row);
        return texts;
    }
    void tapRow(int row) { QVERIFY(m_f.clickButton(rows().value(row)->findChild<QQuickAbstractButton *>())); }
    QQuickItem *current() const { return m_card->property("current").value<QQuickItem *>(); }
    QQuickText *currentName() const { return current()->findChild<QQuickText *>(); }
    QQuickItem *spinner() const { return m_card->property("scaning").value<QQuickItem *>(); }
    QSP::Dialog *dialog() const { return m_card->passwordDialog(); }
    auto *dialogText(const QString &text) const
    {
        return qobject_cast<QQuickText *>(ScreenFixture::findText(dialog()->popupItem(), text));
    }
    auto *input() const { return dialog()->bodyItem()->findChild<QQuickTextInput *>(); }
    bool dialogOpen() const { return dialog() && dialog()->isVisible(); }
    bool bodyShown() const { return dialog()->bodyItem()->isVisible(); }
    void typePassword(const QString &password)
    {
        QVERIFY(m_f.click(input()));
        QTRY_VERIFY(input()->hasActiveFocus());
        for (const QChar c : password)
            QTest::keyClick(m_f.window(), c.toLatin1());
        QCOMPARE(input()->text(), password);
    }
    void clickConnect() { QVERIFY(m_f.clickButton(buttonAround(dialogText("Connect"_s)))); }

private Q_SLOTS:
    void initTestCase()
    {
        QVkbPluginLoader::instance()->setVkb(&m_keyboard);
        QVERIFY(PanelSimulator::loadStateJson(NETWORKS));
        const QStringList size = qEnvironmentVariable("TST_SCREEN", "1024x600"_s).split(u'x');
        QVERIFY(m_f.load(QSize(size.value(0).toInt(), size.value(1).toInt())));
        QVERIFY(m_f.showPage(AppRootItem::MI_Network));
        m_f.root()->setCurrentPage(AppRootItem::MI_Wifi);
        m_card = qobject_cast<CardWifi *>(m_f.card(AppRootItem::Card_Wifi));
        QVERIFY(m_card && m_card->isVisible());
        QTRY_COMPARE(m_card->state(), CardWifi::Idle);

        // The panel's results arrive on its own threads; the card handles every one on the GUI thread: it
        // calls the panel from there only, and changes its state there only.
        PanelSimulator::setCallObserver(
            [this](const std::string &) { m_offGuiThread += PanelSimulator::isCallbackThread(); });
        connect(
            m_card, &CardWifi::cardStateChanged, this,
            [this] { m_offGuiThread += QThread::currentThread() != thread(); }, Qt::DirectConnection);
    }

    void cleanup()
    {
        m_card->setConnectTimeout(CardWifi::CONNECT_TIMEOUT_MS);
        QVERIFY(PanelSimulator::waitForIdle());
        QTRY_VERIFY(m_card->state() != CardWifi::Scanning && m_card->state() != CardWifi::Connecting);
        if (dialog())
            dialog()->close();
        QTRY_VERIFY(!dialogOpen());
        QCOMPARE(m_offGuiThread.load(), 0);
    }

    void nearbyList()
    {
        rescan();
        // Scan order and duplicates kept, GB2312 decoded, the 32-byte name cut at 32 bytes.
        QCOMPARE(shownRows(), SCANNED);
        QString levels; // signal icons: 80 and up, 60 to 79, 40 to 59, below 40
        for (QQuickItem *row : rows())
            levels += row->findChild<QQuickImage *>()->source().fileName().left(1);
        QCOMPARE(levels, "4332211"_s);

        rescan(R"({"wifi": {"connected": null, "scan": "null"}})"); // a null result: no rows, idle
        QVERIFY(shownRows().isEmpty());
    }

    void crowdedSite()
    {
        // Rows are made a batch at a time: the event loop turns before the list is complete.
        int listedAtFirstTurn = -1;
        const auto firstTurn = connect(m_card, &CardWifi::cardStateChanged, this, [this, &listedAtFirstTurn] {
            if (m_card->state() == CardWifi::Idle)
                QTimer::singleShot(0, this, [this, &listedAtFirstTurn] {
                    if (listedAtFirstTurn < 0)
                        listedAtFirstTurn = m_card->wifiList().size();
                });
        });
        QStringList names;
        const QByteArray site = crowd(10000, names);
        rescan(site);
        disconnect(firstTurn);
        QTRY_VERIFY(listedAtFirstTurn >= 0);
        QVERIFY2(listedAtFirstTurn < CardWifi::MAX_ROWS, qPrintable(QString::number(listedAtFirstTurn)));

        // A newer result replaces what is left of the list being made.
        auto few = std::make_unique<std::vector<HMI::SystemSet::SsidInfo>>(2);
        qstrcpy(few->at(0).ssid.data(), "Newer");
        qstrcpy(few->at(1).ssid.data(), "Net 0");
        m_card->onScanResult(std::move(few));
        QTest::qWait(200); // time for any rest of the earlier list to come
        QCOMPARE(shownRows(), QStringList({"Newer"_s, "Net 0"_s}));

        // Every network gets its row in scan order, as far as the card lists, but the one connected to; a
        // later scan refills the same rows in place and hides the others.
        rescan(QByteArray(site).replace("null", R"("Net 900")"));
        names = names.mid(0, CardWifi::MAX_ROWS);
        names.removeOne("Net 900"_s);
        QTRY_COMPARE_WITH_TIMEOUT(shownRows(), names, 30000);
        const QList<QQuickItem *> kept = rows();
        rescan();
        QCOMPARE(shownRows(), SCANNED);
        QCOMPARE(rows(), kept.mid(0, SCANNED.size()));
    }

    void namesShownAsTheyAre_data()
    {
        QTest::addColumn<QString>("name"); // as the panel reports it, at most 32 bytes
        QTest::addColumn<QString>("shown");
        for (const char *name : {"<h1>X</h1>", "Plant-Floor<b></b>", "<a href=\"x\">Office</a>",
                                 "<font color=\"red\">R</font>", "<img src=\"x\">", "&lt;&amp;<i></i>"})
            QTest::newRow(name) << QString::fromUtf8(name) << QString::fromUtf8(name);
        QTest::newRow("32 bytes") << SCANNED.last() << SCANNED.last();
        // 30 bytes, then 你 (three bytes) cut after its second byte: the partial character is dropped.
        QTest::newRow("last character cut")
            << "0123456789abcdef0123456789abcd"_s + GB_NAME << "0123456789abcdef0123456789abcd"_s;
    }

    void namesShownAsTheyAre()
    {
        QFETCH(QString, name);
        QFETCH(QString, shown);
        // A name comes from the air: whatever it holds is shown as its characters, never as markup, the same
        // in the nearby row, the dialog's title and the connected row.
        const auto asItIs = [&shown](QQuickItem *item) {
            const auto *text = qobject_cast<QQuickText *>(item);
            return text && text->isVisible() && text->text() == shown &&
                   text->textFormat() == QQuickText::PlainText;
        };
        QByteArray json =
            R"({"delaysMs": {"scan": 0}, "wifi": {"connected": null, "networks": [{"secured": true, "ssid": )" +
            quoted(name) + "}]}}";
        rescan(json);
        QVERIFY(asItIs(rows().value(0)->findChild<QQuickText *>()));
        tapRow(0); // secured: the dialog, titled with the name, asks for the password
        QVERIFY(asItIs(dialogText(shown)));
        dialog()->close();
        QTRY_VERIFY(!dialogOpen());
        // Connected to it: its nearby row (the same bytes) hidden.
        rescan(json.replace("null", quoted(name)));
        QVERIFY(asItIs(currentName()) && shownRows().isEmpty());
    }

    void connectedRow()
    {
        // Both "Office" rows hidden; the connected one's name, signal icon and tick shown, the icon kept when
        // the strength reads below 1.
        QByteArray json = networks(R"("connected": null)", R"("connected": "Office", "strength": 65)");
        const auto images = [this] { return current()->findChildren<QQuickImage *>(); };
        for (const char *strength : {"65", "0"}) {
            rescan(json.replace(R"("strength": 65)", QByteArray(R"("strength": )") + strength));
            QCOMPARE(shownRows().size(), 5);
            QVERIFY(currentName()->isVisible() && currentName()->text() == "Office"_s &&
                    images().at(1)->isVisible());
            QCOMPARE(images().at(0)->source().fileName(), "3@2x"_s);
        }
        // The network card reports the connection gone: the row empties and "Office" is offered again.
        QVERIFY(PanelSimulator::loadStateJson(NETWORKS));
        QVERIFY(QMetaObject::invokeMethod(m_f.card(AppRootItem::Card_Network), "wifiStatusChanged",
                                          Q_ARG(bool, false), Q_ARG(QString, {})));
        QVERIFY(!currentName()->isVisible() && !images().at(0)->isVisible() && !images().at(1)->isVisible());
        QCOMPARE(shownRows().size(), 7);
    }

    void scanAndReset()
    {
        rescan(networks(R"("connected": null)", R"("connected": "Guest")"));
        QVERIFY(PanelSimulator::loadStateJson(
            networks(R"("scan": 40)", R"("scan": 400)").replace("null", "\"Guest\"").toStdString()));
        auto *scan =
            qobject_cast<QQuickAbstractButton *>(m_card->property("scanButton").value<QQuickItem *>());
        QQuickAbstractButton *reset = buttonAround(ScreenFixture::findText(m_card, "Reset"_s));
        PanelSimulator::clearCallLog();
        QVERIFY(m_f.clickButton(scan));
        QCOMPARE(m_card->state(), CardWifi::Scanning);
        QVERIFY(spinner()->isVisible() &&
                spinner()->parentItem() == m_card->property("nearWlanTxt").value<QQuickItem *>());

        // Refresh and Reset are disabled and faded: taps reach neither.
        QVERIFY(!scan->isEnabled() && !reset->isEnabled());
        QCOMPARE(reset->opacity(), 0.4);
        QCOMPARE(m_card->property("scanButtonImage").value<QQuickItem *>()->opacity(), 0.4);
        QVERIFY(!m_f.clickButton(scan) && !m_f.clickButton(reset));
        // A reset asked for anyway only clears the list and the connected row; the scan's result fills it.
        Q_EMIT m_card->wifiReset();
        QVERIFY(shownRows().isEmpty() && !currentName()->isVisible());
        QCOMPARE(ScreenFixture::calls("scanWifi") + ScreenFixture::calls("resetWifi"), 1);
        QTRY_COMPARE(m_card->state(), CardWifi::Idle);
        QCOMPARE(rows().size(), 7);
        QVERIFY(scan->isEnabled() && reset->isEnabled() && !spinner()->isVisible() &&
                reset->opacity() == 1.0);

        // Reset while idle: the list and the connection go, and the reset's own scan lists every network.
        QVERIFY(currentName()->isVisible());
        PanelSimulator::clearCallLog();
        QVERIFY(m_f.clickButton(reset));
        QCOMPARE(ScreenFixture::calls("resetWifi"), 1);
        QCOMPARE(m_card->state(), CardWifi::Scanning);
        QVERIFY(shownRows().isEmpty() && !currentName()->isVisible());
        QTRY_COMPARE(m_card->state(), CardWifi::Idle);
        QCOMPARE(shownRows().size(), 7);
    }

    void passwordDialog()
    {
        rescan();
        tapRow(1); // 你好: secured, no password known, so the dialog asks
        QVERIFY(dialogOpen() && dialog()->title() == GB_NAME);
        QVERIFY(dialog()->enableCloseButton() && bodyShown() && dialogText("Enter password"_s));
        QCOMPARE(ScreenFixture::calls("connectWifi"), 0);

        typePassword("k"_s);
        QCOMPARE(input()->echoMode(), QQuickTextInput::Password);
        QQuickAbstractButton *show = buttonAround(dialogText("Show Password"_s));
        QVERIFY(m_f.clickButton(show));
        QCOMPARE(input()->echoMode(), QQuickTextInput::Normal);
        QVERIFY(input()->hasActiveFocus()); // the check box leaves the field and the keyboard alone

        clickConnect();
        QCOMPARE(ScreenFixture::calls("connectWifi \"hex:c4e3bac3\" pw=1"), 1);
        QVERIFY(m_card->state() == CardWifi::Connecting && !bodyShown());
        QQuickText *message = dialogText("Connecting"_s);
        QCOMPARE(message->color(), QColor("#3269CE"_s));
        QVERIFY(spinner()->isVisible() && spinner()->parentItem() == message);

        // Connected with an address: the dialog closes; the connected name reads as it does in the list.
        QTRY_VERIFY(!dialogOpen());
        QCOMPARE(m_card->state(), CardWifi::Online);
        QCOMPARE(currentName()->text(), GB_NAME);
        QCOMPARE(input()->text(), QString());

        // A late "connecting" report puts the card back to Connecting; unknown reports change nothing.
        m_card->onConnectResult(HMI::SystemSet::WIFI_CONNECTING);
        QVERIFY(m_card->state() == CardWifi::Connecting &&
                QQuickItemPrivate::get(spinner())->explicitVisible);
        m_card->onConnectResult(static_cast<HMI::SystemSet::StateWifi>(7));
        QCOMPARE(m_card->state(), CardWifi::Connecting);
        m_card->onConnectResult(HMI::SystemSet::WIFI_TIMEOUT);

        // The dialog is reused, and "Show Password" keeps its state.
        QSP::Dialog *first = dialog();
        tapRow(0);
        QVERIFY(dialog() == first && dialog()->title() == "Office"_s);
        QCOMPARE(input()->echoMode(), QQuickTextInput::Normal);
        QVERIFY(m_f.clickButton(show));
        QCOMPARE(input()->echoMode(), QQuickTextInput::Password);

        // A network that the next scan no longer finds: Connect does nothing, nor does a row that is gone.
        QVERIFY(PanelSimulator::loadStateJson(NO_NETWORKS));
        m_card->onClickScanWifi();
        QTRY_COMPARE(m_card->state(), CardWifi::Idle);
        PanelSimulator::clearCallLog();
        clickConnect();
        QCOMPARE(ScreenFixture::calls("connectWifi"), 0);
        dialog()->close();
        m_card->onClickWifiItem(0);
        QTRY_VERIFY(!dialogOpen());
    }

    void connectionOutcome_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("typed");    // null: the tap itself connects
        QTest::addColumn<QByteArray>("panel"); // the panel once the list is shown; empty: as scanned
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("outcome"); // empty: connected and closed
        QTest::addColumn<QString>("then");    // the call that follows the outcome, if any
        QTest::addColumn<int>("wait");        // for a final outcome, when shortened (ms)
        QTest::addColumn<bool>("late");       // the outcome comes after all, after the wait

        const auto add = [](const char *tag, int row, const QString &typed, const QByteArray &panel,
                            const char *call, const char *outcome = "", const char *then = "", int wait = 0,
                            bool late = false) {
            QTest::newRow(tag) << row << typed << panel << QString::fromUtf8(call)
                               << QString::fromUtf8(outcome) << QString::fromUtf8(then) << wait << late;
        };
        const QByteArray noAddress =
            networks(R"("dhcp": true, "lease": {"ip": "172.16.4.33"})", R"("dhcp": false)");
        add("open network", 2, QString(), {}, R"("Guest" pw=0)");
        add("open network, no address", 2, QString(), noAddress, R"("Guest" pw=0)", "", "setDHCP 4 1 1");
        add("known password", 4, QString(), {}, R"("Known" pw=5)", "Wrong password");
        add("typed password", 0, "nope"_s, {}, R"("Office" pw=4)", "Wrong password");
        add("time out", 5, "x"_s, {}, R"("Slow" pw=1)", "Time out");
        add("empty, offline", 0, ""_s, NO_NETWORKS, R"("Office" pw=0)", "Wi-Fi Offline", "scanWifi");
        add("1000 characters", 0, QString(1000, u'p'), {}, R"("Office" pw=1000)", "Wrong password");
        // Without a final outcome in time, the attempt ends as a time-out; one that comes later still counts.
        const char *guest = R"("Guest", "strength": 60, "secured": false)";
        add("unknown outcome", 2, QString(), networks(guest, R"("Guest", "secured": false, "result": 9)"),
            R"("Guest" pw=0)", "Time out", "", 300);
        add("outcome too late", 2, QString(), networks(R"("connect": 40)", R"("connect": 1500)"),
            R"("Guest" pw=0)", "Time out", "", 300, true);
    }

    void connectionOutcome()
    {
        QFETCH(QString, typed);
        QFETCH(QByteArray, panel);
        QFETCH(QString, outcome);
        QFETCH(QString, then);
        QFETCH(int, wait);
        rescan();
        if (!panel.isEmpty())
            QVERIFY(PanelSimulator::loadStateJson(panel.constData()));
        PanelSimulator::clearCallLog();
        QSignalSpy connected(m_card, &CardWifi::connectedChanged);
        QVERIFY(connected.isValid());
        if (wait)
            m_card->setConnectTimeout(wait);
        QFETCH(int, row);
        tapRow(row);
        QVERIFY(dialogOpen());
        if (typed.isNull())
            QVERIFY(m_card->state() == CardWifi::Connecting && !bodyShown() && dialogText("Connecting"_s));
        else if (!typed.isEmpty())
            typePassword(typed);
        if (!typed.isNull())
            clickConnect();
        QFETCH(QString, call);
        QCOMPARE(ScreenFixture::calls("connectWifi " + call.toStdString()), 1);
        if (wait) { // a scan's result meanwhile leaves the attempt on show
            m_card->onScanResult(nullptr);
            QVERIFY(m_card->state() == CardWifi::Connecting && dialogOpen() && !bodyShown() &&
                    spinner()->isVisible() && dialogText("Connecting"_s));
        }

        if (outcome.isEmpty()) {
            // Connected: without an address the dialog waits for DHCP's report, then closes.
            QTRY_COMPARE(m_card->state(), CardWifi::Online);
            QVERIFY(then.isEmpty() || (dialogOpen() && connected.isEmpty()));
            QTRY_VERIFY(!dialogOpen());
            QCOMPARE(QList<QVariantList>(connected), QList<QVariantList>{{true}});
            QCOMPARE(currentName()->text(), "Guest"_s);
            QVERIFY(!shownRows().contains("Guest"_s));
        } else {
            // The dialog stays, in red, with the body and the password back for another try.
            QTRY_VERIFY(dialogText(outcome));
            QCOMPARE(dialogText(outcome)->color(), QColor(Qt::red));
            QVERIFY(dialogOpen() && bodyShown() && connected.isEmpty());
            QCOMPARE(spinner()->isVisible(), then == "scanWifi"_s); // only a scan's
            QCOMPARE(input()->text(), typed.isNull() ? QString() : typed);
        }
        // What follows: a new scan when offline, DHCP for a connection without an address.
        for (const char *next : {"scanWifi", "setDHCP"})
            QCOMPARE(ScreenFixture::calls(next), then.startsWith(QLatin1String(next)) ? 1 : 0);
        QVERIFY(then.isEmpty() || ScreenFixture::calls(then.toStdString()) == 1);

        // After the wait the card takes scans again. An outcome that comes after all is taken as it comes; a
        // progress report after the end is awaited again, and ends the same way.
        QFETCH(bool, late);
        if (wait) {
            dialog()->close();
            rescan(panel);
        }
        if (late) {
            QTRY_COMPARE(m_card->state(), CardWifi::Online);
            QCOMPARE(currentName()->text(), "Guest"_s);
            m_card->onConnectResult(HMI::SystemSet::WIFI_CONNECTING);
            QTRY_COMPARE(m_card->state(), CardWifi::Idle);
        }
    }

    void keyboardMovesDialog_data()
    {
        QTest::addColumn<qreal>("keyboardHeight");
        QTest::newRow("room above") << qreal(240);
        QTest::newRow("too tall") << qreal(500);
    }

    void keyboardMovesDialog()
    {
        QFETCH(qreal, keyboardHeight);
        if (QQuickItem *keys = m_keyboard.keyboardItem()) // made 240 high with the first showing
            keys->setHeight(keyboardHeight);
        rescan();
        tapRow(0);
        const qreal middle = int((m_f.root()->height() - dialog()->height()) / 2);
        QCOMPARE(dialog()->y(), middle);

        PanelSimulator::clearCallLog();
        typePassword(QString());
        QTRY_VERIFY(m_keyboard.isVisible());
        QCOMPARE(m_keyboard.layoutType(), VkbLayout_Full);
        QCOMPARE(ScreenFixture::calls("beep 1"),
                 MeyerSingleton<HMI::SystemSet>::instance().isBuzzerOn() ? 1 : 0);
        // Centred in the room above the keyboard, else near the top.
        const int above = int((m_f.root()->height() - keyboardHeight - dialog()->height()) / 2);
        QCOMPARE(dialog()->y(), qreal(above < 0 ? 25 : above));

        QTest::keyClick(m_f.window(), Qt::Key_Return); // ends the editing
        QVERIFY(!input()->hasActiveFocus() && dialogOpen());
        QTRY_VERIFY(!m_keyboard.isVisible());
        QCOMPARE(dialog()->y(), middle);
    }

    void returnButtonLeadsToNetworkPage()
    {
        QQuickItem *back = m_card->returnButton();
        QVERIFY(m_f.clickButton(back));
        QCOMPARE(m_f.root()->currentPage(), AppRootItem::MI_Network);
        QVERIFY(!m_card->isVisible() && !back->isVisible());
        m_f.root()->setCurrentPage(AppRootItem::MI_Wifi);
        QVERIFY(m_card->isVisible() && back->isVisible() && m_f.card(AppRootItem::Card_Wifi) == m_card);
    }
};

QTEST_MAIN(tst_WifiPage)
#include "tst_wifipage.moc"
