#include "cards/VpnStatus.h"

#include "cards/CardNetwork.h"
#include "controls/BeepSwitch.h"
#include "controls/ComboBox.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QColor>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

const QColor NormalColor(Palette::Text);
const QColor ErrorColor(Palette::Error);
const QColor GoodColor(Palette::Good);

constexpr int VpnPollMs = 3000;

} // namespace

VpnStatus::VpnStatus(CardNetwork *card)
    : QObject(card)
    , m_card(card)
    , m_poll(
          card, this, [this] { update(); }, VpnPollMs)
{}

QList<QQuickItem *> VpnStatus::addRows()
{
    QList<QQuickItem *> rows{m_card->addOnOffRow(QT_TRANSLATE_NOOP("CardNetwork", "VPN"),
                                                 Panel::instance().isNicEnabled(HMI::SystemSet::NIC_VPN),
                                                 m_onOff)};
    connect(m_onOff, &QQuickAbstractButton::clicked, this, [this] {
        switchOn(m_onOff->on());
        Q_EMIT switched();
    });
    const bool on = m_onOff->on();

    QQuickItem *row = m_card->addColumnItemRoot(32.0 / 31.0);
    m_card->addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Server"));
    m_serverComboBox = m_card->addColumnItemComboBox(row);
    fillServerList();
    m_serverComboBox->setCurrentIndex(Panel::instance().getVPNServer());
    lockServer(on);
    connect(m_serverComboBox, &ComboBox::currentIndexChanged, this, &VpnStatus::onServerPicked);
    rows << row;

    rows << m_card->addStateRow(m_stateText, &m_stateSource);
    return rows;
}

bool VpnStatus::syncSwitch()
{
    return m_onOff &&
           CardNetwork::showSwitch(m_onOff, Panel::instance().isNicEnabled(HMI::SystemSet::NIC_VPN));
}

void VpnStatus::reload()
{
    if (!m_serverComboBox)
        return;
    HMI::SystemSet &panel = Panel::instance();
    lockServer(panel.isNicEnabled(HMI::SystemSet::NIC_VPN));
    m_serverComboBox->setCurrentIndex(panel.getVPNServer());
    if (m_card->currentNIC() == HMI::SystemSet::NIC_VPN)
        update();
}

void VpnStatus::switchOn(bool on)
{
    HMI::SystemSet &panel = Panel::instance();
    lockServer(on);
    if (on) {
        update();
        panel.enableNIC(HMI::SystemSet::NIC_VPN, true, true);
    } else {
        panel.resetVPNIp(panel.getVPNServer());
        update();
        panel.enableNIC(HMI::SystemSet::NIC_VPN, false, true);
    }
}

void VpnStatus::lockServer(bool on)
{
    if (!m_serverComboBox)
        return;
    m_serverComboBox->setEnabled(!on);
    m_serverComboBox->setOpacity(on ? 0.5 : 1.0);
}

void VpnStatus::fillServerList()
{
    if (!m_serverComboBox)
        return;
    m_serverComboBox->setStringListModel(
        {CardNetwork::translated(QT_TRANSLATE_NOOP("CardNetwork", "Asia")),
         CardNetwork::translated(QT_TRANSLATE_NOOP("CardNetwork", "Europe"))});
    if (m_serverComboBox->currentIndex() < 0)
        m_serverComboBox->setCurrentIndex(Panel::instance().getVPNServer());
}

void VpnStatus::onServerPicked()
{
    const int index = m_serverComboBox->currentIndex();
    if (index < 0)
        return;
    HMI::SystemSet &panel = Panel::instance();
    const auto server = HMI::SystemSet::VPNServer(index);
    // Following the system's own choice (on opening, after a language change) writes nothing.
    if (server != panel.getVPNServer()) {
        panel.setVPNServer(server);
        panel.resetVPNIp(server);
    }
    update();
}

void VpnStatus::update()
{
    if (!m_stateText)
        return;
    HMI::SystemSet &panel = Panel::instance();
    const int state = panel.getVPNServerState(panel.getVPNServer());
    const char *text = QT_TRANSLATE_NOOP("CardNetwork", "Unknown Status");
    QColor color = ErrorColor;
    if (state != 0 && !panel.isNicEnabled(HMI::SystemSet::NIC_VPN)) {
        text = QT_TRANSLATE_NOOP("CardNetwork", "Not connected");
        color = NormalColor;
    } else {
        switch (state) {
        case 0:
            text = QT_TRANSLATE_NOOP("CardNetwork", "Not connected");
            color = NormalColor;
            break;
        case 1:
            text = QT_TRANSLATE_NOOP("CardNetwork", "Connecting...");
            color = NormalColor;
            break;
        case 2:
            text = QT_TRANSLATE_NOOP("CardNetwork", "HMI not authorized");
            break;
        case 3:
            text = QT_TRANSLATE_NOOP("CardNetwork", "SSL Error");
            break;
        case 4:
            text = QT_TRANSLATE_NOOP("CardNetwork", "Certificate Error");
            break;
        case 5:
            text = QT_TRANSLATE_NOOP("CardNetwork", "VPN connected");
            color = GoodColor;
            break;
        }
    }
    CardNetwork::setStateText(m_stateText, m_stateSource, text, color);
}

} // namespace QSP
