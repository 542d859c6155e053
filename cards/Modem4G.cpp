#include "cards/Modem4G.h"

#include "cards/CardNetwork.h"
#include "controls/BeepSwitch.h"
#include "shell/IconProvider.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

const QColor NormalColor(Palette::Text);

constexpr int ModemPollMs = 2000;

} // namespace

Modem4G::Modem4G(CardNetwork *card)
    : QObject(card)
    , m_card(card)
    , m_poll(
          card, this, [this] { update(); }, ModemPollMs)
{}

QList<QQuickItem *> Modem4G::addRows()
{
    QList<QQuickItem *> rows{m_card->addOnOffRow(QT_TRANSLATE_NOOP("CardNetwork", "4G"),
                                                 Panel::instance().isNicEnabled(HMI::SystemSet::NIC_4G),
                                                 m_onOff)};
    connect(m_onOff, &QQuickAbstractButton::clicked, this, [this] {
        const bool on = m_onOff->on();
        setPolling(on);
        Panel::instance().enableNIC(HMI::SystemSet::NIC_4G, on, true);
        Q_EMIT switched();
    });

    QQuickItem *row = m_card->addColumnItemRoot(32.0 / 31.0);
    m_card->addColumnItemText(row, QT_TRANSLATE_NOOP("CardNetwork", "Signal"));
    m_signalImage = m_card->addColumnItemImage(row, QStringLiteral("image://qspicon/singal4G_3"));
    rows << row;

    rows << m_card->addStateRow(m_stateText, &m_stateSource);
    return rows;
}

bool Modem4G::syncSwitch()
{
    return m_onOff &&
           CardNetwork::showSwitch(m_onOff, Panel::instance().isNicEnabled(HMI::SystemSet::NIC_4G));
}

void Modem4G::setPolling(bool run)
{
    if (!run) {
        m_poll.stop();
        clear();
        return;
    }
    clear();
    m_poll.start();
    update();
}

void Modem4G::clear()
{
    if (m_signalImage)
        IconProvider::setSource(m_signalImage, QUrl(QStringLiteral("image://qspicon/singal4G_0")));
    CardNetwork::setStateText(m_stateText, m_stateSource, QT_TRANSLATE_NOOP("CardNetwork", "Not connected"),
                              NormalColor);
}

void Modem4G::update()
{
    HMI::SystemSet &panel = Panel::instance();
    if (m_signalImage) {
        const int signal = panel.get4GSignal(HMI::SystemSet::NIC_4G);
        // Five bands of 20; a value above 100 is not a reading and leaves the icon as it was.
        if (signal <= 100) {
            const int band = signal < 1 ? 0 : (signal + 19) / 20;
            IconProvider::setSource(m_signalImage,
                                    QUrl(QStringLiteral("image://qspicon/singal4G_%1").arg(band)));
        }
    }
    if (m_stateText) {
        const char *state = QT_TRANSLATE_NOOP("CardNetwork", "Unknown");
        switch (panel.get4GState(HMI::SystemSet::NIC_4G)) {
        case 0:
            state = QT_TRANSLATE_NOOP("CardNetwork", "Not connected");
            break;
        case 1:
            state = QT_TRANSLATE_NOOP("CardNetwork", "Connecting...");
            break;
        case 2:
            state = QT_TRANSLATE_NOOP("CardNetwork", "Connection successful");
            break;
        }
        CardNetwork::setStateText(m_stateText, m_stateSource, state, NormalColor);
    }
}

} // namespace QSP
