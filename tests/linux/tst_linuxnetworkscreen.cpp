// The screen on the Linux backend against python3-dbusmock's NetworkManager, as a user drives it: the Network
// page shows the board's adapters and addresses, a static address typed there reaches the profile, the Wi-Fi
// page lists the access points, a wrong and then the right password, and the Wi-Fi switched off.

#include "AppRootItem.h"
#include "BeepSwitch.h"
#include "CIpInput.h"
#include "CardNetwork.h"
#include "CardWifi.h"
#include "DbusMock.h"
#include "Dialog.h"
#include "MeyerSingleton.h"
#include "QVkbPluginLoader.h"
#include "ScreenFixture.h"
#include "SystemSet.h"
#include "TestKeyboard.h"

#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuick/private/qquickwindow_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtTest>

using QSP::AppRootItem;

namespace {

const QString nm = QStringLiteral("org.freedesktop.NetworkManager");

QQuickAbstractButton *buttonAround(QQuickItem *item)
{
    while (item && !qobject_cast<QQuickAbstractButton *>(item))
        item = item->parentItem();
    return qobject_cast<QQuickAbstractButton *>(item);
}

} // namespace

class tst_LinuxNetworkScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void networkPage();
    void wifiPage();

private:
    /// The control of type T in the network card's row that shows @p label.
    template<typename T>
    T *control(const char *label) const
    {
        for (QQuickItem *row : m_network->property("layout").value<QQuickItem *>()->childItems().mid(2)) {
            if (!ScreenFixture::findText(row, QString::fromUtf8(label)))
                continue;
            for (QQuickItem *child : row->childItems())
                if (auto *found = qobject_cast<T *>(child))
                    return found;
        }
        return nullptr;
    }
    bool select(const char *adapter)
    {
        QQuickItem *flow = m_network->property("nicButtonFlow").value<QQuickItem *>();
        QQuickItem *text = ScreenFixture::findText(flow, QString::fromUtf8(adapter));
        QQuickWindowPrivate *window = QQuickWindowPrivate::get(m_f.window());
        return text && m_f.clickButton(text->parentItem()) &&
               QTest::qWaitFor([window] { return window->itemsToPolish.isEmpty(); });
    }
    QSP::CardWifi *wifi() const { return qobject_cast<QSP::CardWifi *>(m_f.card(AppRootItem::Card_Wifi)); }
    QQuickItem *dialogText(const char *text) const
    {
        return ScreenFixture::findText(wifi()->passwordDialog()->popupItem(), QString::fromUtf8(text));
    }
    void connectWith(const char *password)
    {
        auto *input = wifi()->passwordDialog()->bodyItem()->findChild<QQuickTextInput *>();
        QVERIFY(input && m_f.click(input));
        QTRY_VERIFY(input->hasActiveFocus());
        input->selectAll();
        QTest::keyClick(m_f.window(), Qt::Key_Backspace);
        for (const char *c = password; *c; ++c)
            QTest::keyClick(m_f.window(), *c);
        m_mock.forget(nm);
        QVERIFY(m_f.clickButton(buttonAround(dialogText("Connect"))));
        QTRY_VERIFY(!m_mock.calls(nm).filter(QStringLiteral("AddAndActivateConnection")).isEmpty());
        QVERIFY(m_mock.calls(nm).constLast().contains(
            QStringLiteral(R"("psk": "%1")").arg(QLatin1String(password))));
    }
    bool emitWifiState(unsigned state, unsigned reason)
    {
        return m_mock.python(QStringLiteral("device_state('wlan0dev', %1, %2)").arg(state).arg(reason));
    }

    QTemporaryDir m_tmp;
    DbusMock m_mock;
    TestKeyboard m_keyboard;
    ScreenFixture m_f;
    QSP::CardNetwork *m_network = nullptr;
};

void tst_LinuxNetworkScreen::initTestCase()
{
    QString why;
    if (!m_mock.start(&why))
        QSKIP(qPrintable(
            QStringLiteral("no private D-Bus here, the screen on NetworkManager is not tested: ") + why));
    QVERIFY(m_mock.startTemplate(QStringLiteral("networkmanager"), nm));
    // eth0 is up with a static profile and its address; wlan0 is disconnected and sees two networks.
    QVERIFY(m_mock.python(QStringLiteral("screen_board()")));
    qputenv("QSP_PANEL", "linux");
    qputenv("QSP_SETTINGS", m_tmp.filePath(QStringLiteral("settings.json")).toUtf8());
    QVkbPluginLoader::instance()->setVkb(&m_keyboard);
    QVERIFY(m_f.load(QSize(1024, 600)));
    QVERIFY(m_f.showPage(AppRootItem::MI_Network));
    m_network = qobject_cast<QSP::CardNetwork *>(m_f.card(AppRootItem::Card_Network));
    QVERIFY(m_network);
    m_f.window()->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(m_f.window()));
}

void tst_LinuxNetworkScreen::networkPage()
{
    // The board's adapters, and eth0's static address from its profile.
    QQuickItem *flow = m_network->property("nicButtonFlow").value<QQuickItem *>();
    QVERIFY(ScreenFixture::findText(flow, QStringLiteral("LAN0")) &&
            ScreenFixture::findText(flow, QStringLiteral("Wi-Fi")));
    QVERIFY(!ScreenFixture::findText(flow, QStringLiteral("LAN1")));
    QVERIFY(select("LAN0"));
    auto *ip = control<QSP::CIpInput>("IP Address");
    QVERIFY(ip);
    QTRY_COMPARE(ip->ip(), QStringLiteral("10.0.0.5"));
    QCOMPARE(control<QSP::CIpInput>("Default Gateway")->ip(), QStringLiteral("10.0.0.1"));
    QVERIFY(ip->isEnabled()); // static: it can be typed in

    // A new last number, typed and confirmed: the profile changes and is applied.
    auto *box = ip->property("ipi3").value<QQuickTextInput *>();
    QVERIFY(m_f.click(box) && ip->editing());
    m_mock.forget(nm);
    for (const char c : {'5', '0'})
        QTest::keyClick(m_f.window(), c);
    QTest::keyClick(m_f.window(), Qt::Key_Return);
    QTRY_VERIFY(m_mock.calls(nm).contains(QStringLiteral("Reapply {} 0 0")));
    const QString update = m_mock.calls(nm).filter(QStringLiteral("Update {")).constLast();
    QVERIFY2(update.contains(QLatin1String(R"("address": "10.0.0.50")")), qPrintable(update));
    QTRY_COMPARE(ip->ip(), QStringLiteral("10.0.0.50"));
}

void tst_LinuxNetworkScreen::wifiPage()
{
    // The Wi-Fi summary leads to the Wi-Fi page, whose first scan ends when NetworkManager's does.
    QVERIFY(select("Wi-Fi"));
    auto *summary = m_network->findChild<QQuickItem *>(QStringLiteral("wifiSettingsButton"));
    QVERIFY(summary && m_f.clickButton(summary));
    QCOMPARE(m_f.root()->currentPage(), AppRootItem::MI_Wifi);
    QTRY_VERIFY(m_mock.calls(nm).contains(QStringLiteral("RequestScan {}")));
    QVERIFY(m_mock.python(QStringLiteral("scan_ended(1000)")));
    QTRY_COMPARE(wifi()->wifiList().size(), 2);
    QStringList names;
    for (const auto &entry : wifi()->wifiList())
        names << ScreenFixture::visibleTexts(entry.item).join(QLatin1Char(' '));
    QVERIFY2(names.join(QLatin1Char('|')).contains(QStringLiteral("Office")) &&
                 names.join(QLatin1Char('|')).contains(QStringLiteral("Guest")),
             qPrintable(names.join(QLatin1Char('|'))));

    // Office is secured: a wrong password first, refused by the supplicant.
    QQuickItem *office = nullptr;
    for (const auto &entry : wifi()->wifiList())
        if (ScreenFixture::findText(entry.item, QStringLiteral("Office")))
            office = entry.item;
    QVERIFY(office && m_f.clickButton(office->findChild<QQuickAbstractButton *>()));
    QTRY_VERIFY(wifi()->passwordDialog()->isVisible());
    connectWith("wrong-one");
    QVERIFY(emitWifiState(120, 7));
    QTRY_VERIFY(dialogText("Wrong password"));

    // Then the right one: the device comes up on Office with an address.
    connectWith("right-one");
    QVERIFY(m_mock.python(QStringLiteral("wifi_up_on_office()")));
    QTRY_COMPARE(wifi()->state(), QSP::CardWifi::Online);
    QTRY_VERIFY(!wifi()->passwordDialog()->isVisible());
    QTRY_VERIFY(
        ScreenFixture::findText(wifi()->property("current").value<QQuickItem *>(), QStringLiteral("Office")));

    // Back on the Network page, Wi-Fi switched off: NetworkManager's radio goes off.
    QVERIFY(m_f.showPage(AppRootItem::MI_Network));
    QVERIFY(select("Wi-Fi"));
    QVERIFY(m_f.clickButton(control<QSP::BeepSwitch>("Disable Network")));
    QTRY_VERIFY(!MeyerSingleton<HMI::SystemSet>::instance().isNicEnabled(HMI::SystemSet::NIC_WIFI));
}

QTEST_MAIN(tst_LinuxNetworkScreen)
#include "tst_linuxnetworkscreen.moc"
