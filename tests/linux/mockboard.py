# What the Linux backend's network tests do to python3-dbusmock's services on the private bus: the boards they
# start from, and what a test then changes or makes NetworkManager say. DbusMock::python() imports it.
import os
import dbus

bus = dbus.bus.BusConnection(os.environ['DBUS_SYSTEM_BUS_ADDRESS'])
NM = 'org.freedesktop.NetworkManager'
NM_PATH = '/org/freedesktop/NetworkManager'
DEVICE = NM + '.Device'
WIRELESS = DEVICE + '.Wireless'
DEVICES = NM_PATH + '/Devices/'
MM = 'org.freedesktop.ModemManager1'


def mock(service, path):
    return dbus.Interface(bus.get_object(service, path), 'org.freedesktop.DBus.Mock')


def manager():
    return mock(NM, NM_PATH)


def addresses(address, prefix=24):
    return dbus.Array([{'address': address, 'prefix': dbus.UInt32(prefix)}], signature='a{sv}')


def ip4config(number, address, gateway, dns=()):
    path = NM_PATH + '/IP4Config/%d' % number
    manager().AddObject(path, NM + '.IP4Config', {
        'AddressData': addresses(address), 'Gateway': gateway,
        'NameserverData': dbus.Array([{'address': a} for a in dns], signature='a{sv}')}, [])
    return dbus.ObjectPath(path)


def set_property(path, interface, name, value):
    manager().SetProperty(path, interface, name, value)


def wired_profile(name, method, address=None, gateway=None):
    ipv4 = {'method': method}
    if address:
        ipv4['address-data'] = addresses(address)
        ipv4['gateway'] = gateway
    settings = dbus.Interface(bus.get_object(NM, NM_PATH + '/Settings'), NM + '.Settings')
    return settings.AddConnection({'connection': {'id': name, 'type': '802-3-ethernet'}, 'ipv4': ipv4})


def give_profile(device, profile):
    """Makes @p profile the one saved for @p device, which can re-apply it and disconnect."""
    mock(NM, DEVICES + device).AddMethod(DEVICE, 'Reapply', 'a{sa{sv}}tu', '', '')
    mock(NM, DEVICES + device).AddMethod(DEVICE, 'Disconnect', '', '', '')
    set_property(DEVICES + device, DEVICE, 'AvailableConnections',
                 dbus.Array([profile], signature='o', variant_level=1))


def device_state(device, state, reason):
    """The device reports a new state and its reason, as NetworkManager does."""
    mock(NM, DEVICES + device).EmitSignal(DEVICE, 'StateChanged', 'uuu',
                                          [dbus.UInt32(state), dbus.UInt32(50), dbus.UInt32(reason)])


def scan_ended(when):
    set_property(DEVICES + 'wlan0dev', WIRELESS, 'LastScan', dbus.Int64(when, variant_level=1))


def quiet_connections():
    """The template's connections activate at once: instead the device reports the outcome the test wants."""
    manager().AddMethod(NM, 'AddAndActivateConnection', 'a{sa{sv}}oo', 'oo',
                        'ret = (dbus.ObjectPath("%s/Settings/99"), dbus.ObjectPath("%s/ActiveConnection/99"))'
                        % (NM_PATH, NM_PATH))
    manager().AddMethod(NM, 'ActivateConnection', 'ooo', 'o', 'ret = dbus.ObjectPath("%s/ActiveConnection/98")' % NM_PATH)


def network_board():
    """eth1 comes first on the bus, eth0 has an address, wlan0 is disconnected and sees four access points
    (Office twice, Guest open, a name that is not UTF-8); a modem is connected with 63 %."""
    m = manager()
    m.AddProperty(NM, 'PrimaryConnection', dbus.ObjectPath('/'))
    m.AddEthernetDevice('eth1dev', 'eth1', 100)
    m.AddEthernetDevice('eth0dev', 'eth0', 100)
    w = m.AddWiFiDevice('wlan0dev', 'wlan0', 30)
    set_property(DEVICES + 'eth0dev', DEVICE + '.Wired', 'HwAddress', dbus.String('02:00:00:00:00:0A', variant_level=1))
    mock(NM, DEVICES + 'eth0dev').AddProperty(DEVICE, 'Ip4Config',
                                              ip4config(1, '192.168.10.23', '192.168.10.1', ('1.1.1.1', '9.9.9.9')))
    m.AddAccessPoint(w, 'ap1', 'Office', '00:11:22:33:44:01', 2, 2412, 54000, 40, 0x100)
    m.AddAccessPoint(w, 'ap2', 'Office', '00:11:22:33:44:02', 2, 2412, 54000, 70, 0x100)
    m.AddAccessPoint(w, 'ap3', 'Guest', '00:11:22:33:44:03', 2, 2412, 54000, 55, 0)
    m.AddAccessPoint(w, 'ap4', 'x', '00:11:22:33:44:04', 2, 2412, 54000, 30, 0x100)
    mock(NM, w).AddProperty(WIRELESS, 'LastScan', dbus.Int64(-1))
    set_property(NM_PATH + '/AccessPoint/ap4', NM + '.AccessPoint', 'Ssid', dbus.ByteArray(b'caf\xe9', variant_level=1))
    quiet_connections()
    mock(MM, '/org/freedesktop/ModemManager1').AddObject(
        '/org/freedesktop/ModemManager1/Modem/0', MM + '.Modem',
        {'SignalQuality': dbus.Struct((dbus.UInt32(63), True), signature='ub'), 'State': dbus.Int32(11)}, [])


def modem_state(state):
    dbus.Interface(bus.get_object(MM, '/org/freedesktop/ModemManager1/Modem/0'),
                   'org.freedesktop.DBus.Properties').Set(MM + '.Modem', 'State', dbus.Int32(state))


def primary_over(device):
    manager().AddObject(NM_PATH + '/ActiveConnection/9', NM + '.Connection.Active',
                        {'Devices': dbus.Array([dbus.ObjectPath(DEVICES + device)], signature='o')}, [])
    set_property(NM_PATH, NM, 'PrimaryConnection', dbus.ObjectPath(NM_PATH + '/ActiveConnection/9', variant_level=1))


def screen_board():
    """eth0 is up with a static profile and its address; wlan0 is disconnected and sees Office (secured) and
    Guest (open)."""
    m = manager()
    m.AddEthernetDevice('eth0dev', 'eth0', 100)
    w = m.AddWiFiDevice('wlan0dev', 'wlan0', 30)
    mock(NM, DEVICES + 'eth0dev').AddProperty(DEVICE, 'Ip4Config', ip4config(1, '10.0.0.5', '10.0.0.1'))
    give_profile('eth0dev', wired_profile('Wired', 'manual', '10.0.0.5', '10.0.0.1'))
    ip4config(2, '192.168.8.20', '192.168.8.1')
    mock(NM, w).AddProperty(DEVICE, 'Ip4Config', dbus.ObjectPath('/'))
    mock(NM, w).AddProperty(WIRELESS, 'LastScan', dbus.Int64(-1))
    mock(NM, w).AddProperty(WIRELESS, 'ActiveAccessPoint', dbus.ObjectPath('/'))
    m.AddAccessPoint(w, 'office', 'Office', '00:11:22:33:44:01', 2, 2412, 54000, 70, 0x100)
    m.AddAccessPoint(w, 'guest', 'Guest', '00:11:22:33:44:03', 2, 2412, 54000, 35, 0)
    quiet_connections()


def wifi_up_on_office():
    w = DEVICES + 'wlan0dev'
    set_property(w, WIRELESS, 'ActiveAccessPoint', dbus.ObjectPath(NM_PATH + '/AccessPoint/office', variant_level=1))
    set_property(w, DEVICE, 'Ip4Config', dbus.ObjectPath(NM_PATH + '/IP4Config/2', variant_level=1))
    device_state('wlan0dev', 100, 0)


def saved_wifi_profile():
    """A saved Wi-Fi profile, and a Wi-Fi device that can be disconnected."""
    mock(NM, DEVICES + 'wlan0dev').AddMethod(DEVICE, 'Disconnect', '', '', '')
    settings = dbus.Interface(bus.get_object(NM, NM_PATH + '/Settings'), NM + '.Settings')
    settings.AddConnection({'connection': {'id': 'Office', 'type': '802-11-wireless'}})


def vpn_profiles():
    """Two saved tunnels: "asia" through a VPN plug-in, "europe" WireGuard."""
    settings = dbus.Interface(bus.get_object(NM, NM_PATH + '/Settings'), NM + '.Settings')
    return [settings.AddConnection({'connection': {'id': name, 'type': kind}})
            for name, kind in (('asia', 'vpn'), ('europe', 'wireguard'))]


def vpn_up(profile, vpn_state):
    """@p profile's tunnel is active, its VPN plug-in in @p vpn_state."""
    path = NM_PATH + '/ActiveConnection/20'
    manager().AddObject(path, NM + '.Connection.Active',
                        {'Connection': dbus.ObjectPath(profile), 'Vpn': True, 'State': dbus.UInt32(2)}, [])
    mock(NM, path).AddProperties(NM + '.VPN.Connection', {'VpnState': dbus.UInt32(vpn_state)})
    set_property(NM_PATH, NM, 'ActiveConnections', dbus.Array([dbus.ObjectPath(path)], signature='o', variant_level=1))


def saved_office():
    """A saved profile for the network named Office."""
    settings = dbus.Interface(bus.get_object(NM, NM_PATH + '/Settings'), NM + '.Settings')
    return settings.AddConnection({'connection': {'id': 'Office at work', 'type': '802-11-wireless'},
                                   '802-11-wireless': {'ssid': dbus.ByteArray(b'Office')}})
