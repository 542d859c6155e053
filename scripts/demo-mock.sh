#!/usr/bin/env bash
# Runs the demo on the Linux backend against mocked system services on a private D-Bus, so that anyone can
# try it without touching the machine's own network or clock: NetworkManager with two wired adapters and a
# Wi-Fi adapter that sees three networks, ModemManager with a modem, timedated, logind and hostnamed
# (python3-dbusmock). Options are passed on to settings-host, e.g.: bash scripts/demo-mock.sh --size 800x1280
# "Office" takes the password "office-pw"; any other password is refused as wrong. DEMO_MOCK_COMMAND, when
# set, is run on the mocked bus instead of the demo (e.g. a test program, or settings-host under gdb).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
bash "$root/scripts/setup.sh"

work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT

dbus-daemon --session --nofork --print-address=1 --address="unix:path=$work/bus" > "$work/address" &
pids+=($!)
for _ in $(seq 50); do [[ -s "$work/address" ]] && break; sleep 0.1; done
export DBUS_SYSTEM_BUS_ADDRESS=$(head -1 "$work/address")

mock() { /usr/bin/python3 -m dbusmock --system "$@" > /dev/null 2>> "$work/mocks.log" & pids+=($!); }
mock --template networkmanager
mock --template timedated
mock --template logind
mock org.freedesktop.hostname1 /org/freedesktop/hostname1 org.freedesktop.hostname1
mock -m org.freedesktop.ModemManager1 /org/freedesktop/ModemManager1 org.freedesktop.ModemManager1

QSP_ROOT=$root /usr/bin/python3 - <<'PY'
import os, time, dbus
bus = dbus.bus.BusConnection(os.environ['DBUS_SYSTEM_BUS_ADDRESS'])
for name in ('org.freedesktop.NetworkManager', 'org.freedesktop.timedate1', 'org.freedesktop.login1',
             'org.freedesktop.hostname1', 'org.freedesktop.ModemManager1'):
    for _ in range(100):
        if bus.name_has_owner(name):
            break
        time.sleep(0.1)
# The tests' helpers for mocked boards (tests/linux/mockboard.py).
import sys
sys.path.insert(0, os.path.join(os.environ['QSP_ROOT'], 'tests', 'linux'))
from mockboard import *
D = DEVICE
m = manager()
m.AddProperty(NM, 'PrimaryConnection', dbus.ObjectPath('/'))
eth0 = m.AddEthernetDevice('eth0dev', 'eth0', 100)
eth1 = m.AddEthernetDevice('eth1dev', 'eth1', 20)
wlan = m.AddWiFiDevice('wlan0dev', 'wlan0', 30)
give_profile('eth0dev', wired_profile('Wired 1', 'manual', '192.168.1.50', '192.168.1.1'))
give_profile('eth1dev', wired_profile('Wired 2', 'auto'))
mock(NM, eth0).AddProperty(D, 'Ip4Config', ip4config(1, '192.168.1.50', '192.168.1.1', ('192.168.1.1', '8.8.8.8')))
mock(NM, eth1).AddProperty(D, 'Ip4Config', dbus.ObjectPath('/'))
mock(NM, wlan).AddProperty(D, 'Ip4Config', dbus.ObjectPath('/'))
mock(NM, wlan).AddMethod(D, 'Disconnect', '', '', '')
mock(NM, wlan).AddProperty(D + '.Wireless', 'LastScan', dbus.Int64(0))
# A scan ends a second after it was asked for.
mock(NM, wlan).AddMethod(D + '.Wireless', 'RequestScan', 'a{sv}', '',
    'import threading, time\n'
    'threading.Timer(1.0, lambda: self.UpdateProperties(\'org.freedesktop.NetworkManager.Device.Wireless\', '
    '{\'LastScan\': dbus.Int64(int(time.time() * 1000), variant_level=1)})).start()')
m.AddAccessPoint(wlan, 'office', 'Office', '00:11:22:33:44:01', 2, 2412, 54000, 82, 0x100)
m.AddAccessPoint(wlan, 'lab', 'Lab', '00:11:22:33:44:02', 2, 2437, 54000, 48, 0x100)
m.AddAccessPoint(wlan, 'guest', 'Guest', '00:11:22:33:44:03', 2, 2462, 54000, 25, 0)
# A connection to Office with its password comes up; anything else is refused as a wrong password.
m.AddMethod(NM, 'AddAndActivateConnection', 'a{sa{sv}}oo', 'oo',
    'import threading\n'
    'sec = args[0].get("802-11-wireless-security", {})\n'
    'ok = bytes(args[0]["802-11-wireless"]["ssid"]) == b"Office" and sec.get("psk") == "office-pw"\n'
    'dev = dbusmock.get_object(args[1])\n'
    'def outcome():\n'
    '    if ok:\n'
    '        dev.UpdateProperties("org.freedesktop.NetworkManager.Device.Wireless", {"ActiveAccessPoint": args[2]})\n'
    '    dev.EmitSignal("org.freedesktop.NetworkManager.Device", "StateChanged", "uuu", [dbus.UInt32(100 if ok else 120), dbus.UInt32(50), dbus.UInt32(0 if ok else 7)])\n'
    'threading.Timer(1.5, outcome).start()\n'
    'ret = (dbus.ObjectPath("/org/freedesktop/NetworkManager/Settings/99"), dbus.ObjectPath("/org/freedesktop/NetworkManager/ActiveConnection/99"))')
mock('org.freedesktop.hostname1', '/org/freedesktop/hostname1').AddMethod(
    'org.freedesktop.hostname1', 'GetHardwareSerial', '', 's', 'ret = "DEMO-0001-2026"')
mock('org.freedesktop.ModemManager1', '/org/freedesktop/ModemManager1').AddObject(
    '/org/freedesktop/ModemManager1/Modem/0', 'org.freedesktop.ModemManager1.Modem',
    {'SignalQuality': dbus.Struct((dbus.UInt32(64), True), signature='ub'), 'State': dbus.Int32(11)}, [])
PY

export QSP_SETTINGS=${QSP_SETTINGS:-$work/settings.json}
if [[ -n "${DEMO_MOCK_COMMAND:-}" ]]; then eval "$DEMO_MOCK_COMMAND"; else bash "$root/scripts/demo.sh" --panel linux "$@"; fi
