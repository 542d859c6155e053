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
        return m_mock.python(
            QStringLiteral("mock('%1', '/org/freedesktop/NetworkManager/Devices/wlan0dev').EmitSignal("
                           "'org.freedesktop.NetworkManager.Device', 'StateChanged', 'uuu', "
                           "[dbus.UInt32(%2), dbus.UInt32(50), dbus.UInt32(%3)])")
                .arg(nm)
                .arg(state)
                .arg(reason));
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
    QVERIFY(m_mock.python(QStringLiteral(
        "m = mock('org.freedesktop.NetworkManager', '/org/freedesktop/NetworkManager')\n"
        "NM = 'org.freedesktop.NetworkManager'\n"
        "D = NM + '.Device'\n"
        "e = m.AddEthernetDevice('eth0dev', 'eth0', 100)\n"
        "w = m.AddWiFiDevice('wlan0dev', 'wlan0', 30)\n"
        "s = dbus.Interface(bus.get_object(NM, '/org/freedesktop/NetworkManager/Settings'), NM + "
        "'.Settings')\n"
        "p = s.AddConnection({'connection': {'id': 'Wired', 'type': '802-3-ethernet'}, 'ipv4': {'method': "
        "'manual', "
        "'address-data': dbus.Array([{'address': '10.0.0.5', 'prefix': dbus.UInt32(24)}], "
        "signature='a{sv}'), "
        "'gateway': '10.0.0.1'}})\n"
        "m.AddObject('/org/freedesktop/NetworkManager/IP4Config/1', NM + '.IP4Config', {'AddressData': "
        "dbus.Array("
        "[{'address': '10.0.0.5', 'prefix': dbus.UInt32(24)}], signature='a{sv}'), 'Gateway': '10.0.0.1'}, "
        "[])\n"
        "m.AddObject('/org/freedesktop/NetworkManager/IP4Config/2', NM + '.IP4Config', {'AddressData': "
        "dbus.Array("
        "[{'address': '192.168.8.20', 'prefix': dbus.UInt32(24)}], signature='a{sv}'), 'Gateway': "
        "'192.168.8.1'}, [])\n"
        "mock(NM, e).AddProperty(D, 'Ip4Config', "
        "dbus.ObjectPath('/org/freedesktop/NetworkManager/IP4Config/1'))\n"
        "mock(NM, w).AddProperty(D, 'Ip4Config', dbus.ObjectPath('/'))\n"
        "mock(NM, e).AddMethod(D, 'Reapply', 'a{sa{sv}}tu', '', '')\n"
        "m.SetProperty(e, D, 'AvailableConnections', dbus.Array([p], signature='o', variant_level=1))\n"
        "mock(NM, w).AddProperty(D + '.Wireless', 'LastScan', dbus.Int64(-1))\n"
        "mock(NM, w).AddProperty(D + '.Wireless', 'ActiveAccessPoint', dbus.ObjectPath('/'))\n"
        "m.AddAccessPoint(w, 'office', 'Office', '00:11:22:33:44:01', 2, 2412, 54000, 70, 0x100)\n"
        "m.AddAccessPoint(w, 'guest', 'Guest', '00:11:22:33:44:03', 2, 2412, 54000, 35, 0)\n"
        "m.AddMethod(NM, 'AddAndActivateConnection', 'a{sa{sv}}oo', 'oo', 'ret = (dbus.ObjectPath("
        "\"/org/freedesktop/NetworkManager/Settings/9\"), dbus.ObjectPath(\"/org/freedesktop/NetworkManager/"
        "ActiveConnection/9\"))')\n")));
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
    QVERIFY(m_mock.python(QStringLiteral("mock('%1', '/org/freedesktop/NetworkManager').SetProperty("
                                         "'/org/freedesktop/NetworkManager/Devices/wlan0dev', "
                                         "'org.freedesktop.NetworkManager.Device.Wireless', 'LastScan', "
                                         "dbus.Int64(1000, variant_level=1))")
                              .arg(nm)));
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
    QVERIFY(m_mock.python(QStringLiteral(
        "m = mock('org.freedesktop.NetworkManager', '/org/freedesktop/NetworkManager')\n"
        "w = '/org/freedesktop/NetworkManager/Devices/wlan0dev'\n"
        "m.SetProperty(w, 'org.freedesktop.NetworkManager.Device.Wireless', 'ActiveAccessPoint', "
        "dbus.ObjectPath('/org/freedesktop/NetworkManager/AccessPoint/office', variant_level=1))\n"
        "m.SetProperty(w, 'org.freedesktop.NetworkManager.Device', 'Ip4Config', "
        "dbus.ObjectPath('/org/freedesktop/NetworkManager/IP4Config/2', variant_level=1))\n")));
    QVERIFY(emitWifiState(100, 0));
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
