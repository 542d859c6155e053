#include "cards/WifiList.h"

#include "cards/CardHelpers.h"
#include "cards/SsidText.h"
#include "controls/BeepButton.h"
#include "shell/IconProvider.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QElapsedTimer>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickpositioners_p.h>
#include <QtQuick/private/qquicktext_p.h>

#include <cstring>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

const QColor FOCUS_BLUE(Palette::Focus);
const QColor NAME_COLOR(Palette::Text);

// Work a scan result may do in one turn of the event loop: the rest of the frame is left to laying out
// and drawing the rows (the new rows' first drawing costs about as much again as making them). The first
// rows of a turn are made whatever they cost, so that a usual list shows complete at once; no turn makes more
// than MAX_ROWS_PER_TURN, however cheap the rows come (reused ones cost next to nothing until laid out).
constexpr qint64 ROW_BATCH_NS = qint64(5) * 1000 * 1000;
constexpr int MIN_ROWS_PER_TURN = 32;
constexpr int MAX_ROWS_PER_TURN = 500;

/// The signal icon for a strength of 0..100.
QUrl signalIcon(int strength)
{
    if (strength >= 80)
        return QUrl(QStringLiteral("image://qspicon/4@2x"));
    if (strength >= 60)
        return QUrl(QStringLiteral("image://qspicon/3@2x"));
    if (strength >= 40)
        return QUrl(QStringLiteral("image://qspicon/2@2x"));
    return QUrl(QStringLiteral("image://qspicon/1@2x"));
}

} // namespace

WifiList::WifiList(CardWifi *card)
    : QObject(card)
    , m_card(card)
{
    m_rowTimer.setInterval(0);
    m_rowTimer.setSingleShot(true);
    connect(&m_rowTimer, &QTimer::timeout, this, &WifiList::addPendingRows);
}

void WifiList::setParts(QQuickBasePositioner *column, QQuickItem *current)
{
    m_column = column;
    m_current = current;
}

void WifiList::take(std::unique_ptr<std::vector<SsidInfo>> list)
{
    // Rows that the new list fills keep showing the old one until their turn comes (in the first batch for
    // any usual list); the others go now, as does whatever remained of an earlier result.
    hideRowsFrom(list ? int(qMin<std::size_t>(list->size(), CardWifi::MAX_ROWS)) : 0);
    m_entries.clear();
    m_hiddenSsid = HMI::SSID{};
    m_pendingScan = std::move(list);
    m_pendingNext = 0;
    m_rowTimer.stop();
}

void WifiList::listFirstRows()
{
    if (!m_pendingScan)
        return;
    addPendingRows();
    if (CardWifi::isConnected() && !m_entries.isEmpty())
        updateConnected();
}

void WifiList::addPendingRows()
{
    if (!m_pendingScan)
        return;
    std::vector<SsidInfo> &records = *m_pendingScan;
    const std::size_t count = qMin<std::size_t>(records.size(), CardWifi::MAX_ROWS);
    QElapsedTimer turn;
    turn.start();
    for (int made = 1; m_pendingNext < count; ++made) {
        SsidInfo &record = records[m_pendingNext++];
        record.ssid[32] = 0;
        CardWifi::WIFI_INFO entry;
        entry.item = addItem(record, m_entries.size());
        entry.ssid = record.ssid;
        entry.password = QString::fromUtf8(record.password.data(), int(record.password.size()));
        entry.needPassword = record.encrypted;
        entry.strength = record.signal;
        m_entries.append(entry);
        if (made >= MAX_ROWS_PER_TURN || (made >= MIN_ROWS_PER_TURN && turn.nsecsElapsed() >= ROW_BATCH_NS))
            break;
    }
    if (m_pendingNext < count) {
        m_rowTimer.start(); // the rest after the screen has had its turn
    } else {
        m_pendingScan.reset();
        Q_EMIT listed();
    }
}

void WifiList::clear()
{
    m_rowTimer.stop();
    m_pendingScan.reset();
    hideRowsFrom(0);
    m_entries.clear();
}

void WifiList::hideRowsFrom(int index)
{
    for (int i = index; i < m_rowsInUse; ++i)
        m_rows.at(i).item->setVisible(false);
    m_rowsInUse = qMin(m_rowsInUse, qMax(index, 0));
}

bool WifiList::isRowShown(const HMI::SSID &ssid) const
{
    return m_hiddenSsid[0] == 0 || std::strcmp(ssid.data(), m_hiddenSsid.data()) != 0;
}

QQuickItem *WifiList::addItem(const SsidInfo &record, int index)
{
    if (index < 0 || index > m_rows.size())
        return nullptr;
    if (index == m_rows.size())
        m_rows.append(makeRow(index));
    const Row &row = m_rows.at(index);
    IconProvider::setSource(row.icon, signalIcon(record.signal));
    row.name->setText(ssidText(record.ssid));
    row.item->setVisible(isRowShown(record.ssid));
    m_rowsInUse = qMax(m_rowsInUse, index + 1);
    return row.item;
}

WifiList::Row WifiList::makeRow(int index)
{
    Row made;
    auto *row = new QQuickItem(m_column ? static_cast<QQuickItem *>(m_column) : m_card);
    made.item = row;
    if (m_column) {
        row->setWidth(m_column->width());
        connect(m_column, &QQuickItem::widthChanged, row,
                [row, column = m_column] { row->setWidth(column->width()); });
    }
    const qreal rowHeight = m_card->rowHeight();
    row->setHeight(rowHeight);

    const qreal side = m_card->baseSize() * 0.5;
    made.icon = new QQuickImage(row);
    made.icon->setSize(QSizeF(side, side));
    made.icon->setSourceSize(QSize(40, 40));
    centreVertically(made.icon, row);

    QQuickText *name = newPlainText(row);
    made.name = name;
    setPixelSize(name, qMax(1, m_card->fontSize()));
    name->setColor(NAME_COLOR);
    name->setX(rowHeight * 16 / 13);
    name->setElideMode(QQuickText::ElideRight);
    centreVertically(name, row);
    const auto fitName = [row, name] { name->setWidth(qMax(0.0, row->width() - name->x())); };
    fitName();
    connect(row, &QQuickItem::widthChanged, name, fitName);

    // The row at this position always shows the list entry at the same position.
    auto *button = new BeepButton(row);
    button->setObjectName(QStringLiteral("wifiRow%1").arg(index));
    anchorsOf(button)->setFill(row);
    connect(button, &QQuickAbstractButton::clicked, this, [this, index] { Q_EMIT rowTapped(index); });
    return made;
}

void WifiList::addConnectedRow()
{
    if (m_curNameText || !m_current)
        return;
    const qreal side = m_card->baseSize() * 0.5;

    m_curSignalIcon = new QQuickImage(m_current);
    m_curSignalIcon->setSize(QSizeF(side, side));
    m_curSignalIcon->setSourceSize(QSize(40, 40));
    centreVertically(m_curSignalIcon, m_current);

    m_curNameText = newPlainText(m_current);
    setPixelSize(m_curNameText, qMax(1, m_card->fontSize()));
    m_curNameText->setColor(FOCUS_BLUE);
    m_curNameText->setX(m_current->height() * 16 / 13);
    m_curNameText->setElideMode(QQuickText::ElideRight);
    centreVertically(m_curNameText, m_current);

    m_curTick = new QQuickImage(m_current);
    m_curTick->setSize(QSizeF(side, side));
    m_curTick->setSourceSize(QSize(24, 24));
    IconProvider::setSource(m_curTick, QUrl(QStringLiteral("image://qspicon/newtickgreen")));
    centreVertically(m_curTick, m_current);
    anchorsOf(m_curTick)->setRight(rightOf(m_current));

    const auto fitName = [this] {
        m_curNameText->setWidth(qMax(0.0, m_current->width() - m_curNameText->x() - m_curTick->width()));
    };
    fitName();
    connect(m_current, &QQuickItem::widthChanged, m_curNameText, fitName);

    // Icon and tick go with the name: no name, no connected row.
    connect(m_curNameText, &QQuickItem::visibleChanged, this, [this] {
        const bool shown = QQuickItemPrivate::get(m_curNameText)->explicitVisible;
        m_curSignalIcon->setVisible(shown);
        m_curTick->setVisible(shown);
    });
}

void WifiList::updateConnected()
{
    addConnectedRow();
    HMI::SystemSet &panel = Panel::instance();
    const bool connected = panel.isWifiConnected();
    const HMI::SSID ssid = terminatedSsid(panel.currentWifiSsid());
    const bool named = ssid[0] != 0;
    if (connected && !named && m_card->state() == CardWifi::Scanning)
        return;

    // Rows still to come from the scan follow the same rule when they are filled.
    m_hiddenSsid = connected && named ? ssid : HMI::SSID{};
    for (const CardWifi::WIFI_INFO &entry : qAsConst(m_entries)) {
        if (entry.item)
            entry.item->setVisible(isRowShown(entry.ssid));
    }

    if (connected && named) {
        if (m_curNameText) {
            m_curNameText->setText(ssidText(ssid));
            m_curNameText->setVisible(true);
        }
        updateSignalStrength();
        return;
    }

    // No connection any more: every nearby network can be chosen again.
    clearConnected();
}

void WifiList::clearConnected()
{
    if (m_curNameText) {
        m_curNameText->setVisible(false);
        m_curNameText->setText(QString());
    }
}

void WifiList::updateSignalStrength()
{
    if (!m_curSignalIcon)
        return;
    const int strength = Panel::instance().currentWifiSignalStrength();
    if (strength < 1)
        return;
    IconProvider::setSource(m_curSignalIcon, signalIcon(strength));
}

CardWifi::WIFI_INFO *WifiList::findBySsid(const HMI::SSID &ssid)
{
    for (CardWifi::WIFI_INFO &entry : m_entries) {
        if (entry.ssid == ssid)
            return &entry;
    }
    return nullptr;
}

CardWifi::WIFI_INFO *WifiList::findByCurrentSsid()
{
    // As in the list: a 32-byte name has no terminator of its own.
    return findBySsid(terminatedSsid(Panel::instance().currentWifiSsid()));
}

} // namespace QSP
