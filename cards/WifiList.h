#pragma once

#include "cards/CardWifi.h"

#include <QObject>
#include <QTimer>
#include <QVector>

#include <memory>
#include <vector>

class QQuickBasePositioner;
class QQuickImage;
class QQuickItem;
class QQuickText;

namespace QSP {

/// The network names of the Wi-Fi card: the connected row, and one row per network of the last scan.
///
/// Nearby rows are kept from one scan to the next and refilled in place; a long list gets its rows in batches
/// over several turns of the event loop, so that a crowded site never freezes the screen. The connected
/// network's nearby rows are hidden.
class WifiList : public QObject
{
    Q_OBJECT

public:
    using SsidInfo = HMI::SystemSet::SsidInfo;

    /// The names of @p card, a child of it.
    explicit WifiList(CardWifi *card);

    /// The document's column, where the nearby rows go, and its connected row.
    void setParts(QQuickBasePositioner *column, QQuickItem *current);

    /// Takes a new scan result: the rows that it does not fill go now, the others keep showing the old list
    /// until listFirstRows() or a later turn fills them. A null list leaves no rows.
    void take(std::unique_ptr<std::vector<SsidInfo>> list);
    /// Lists the first batch of the result taken, the rest on later turns of the event loop.
    void listFirstRows();
    /// Takes every nearby row away (the rows are hidden and kept for the next scan).
    void clear();
    /// Shows @p record in the row at @p index, made when no earlier scan needed that many.
    QQuickItem *addItem(const SsidInfo &record, int index);

    /// Builds the connected row's icon, name and tick on first use.
    void addConnectedRow();
    /// Shows the connected network (and hides its nearby rows).
    void updateConnected();
    /// Empties and hides the connected row.
    void clearConnected();
    /// Refreshes the connected row's signal icon; a strength below 1 keeps the icon shown.
    void updateSignalStrength();

    /// The first nearby entry named @p ssid (all 33 bytes equal), or null.
    CardWifi::WIFI_INFO *findBySsid(const HMI::SSID &ssid);
    CardWifi::WIFI_INFO *findByCurrentSsid();
    /// The nearby networks that have their row so far (all of the last scan once it is listed).
    const QVector<CardWifi::WIFI_INFO> &entries() const { return m_entries; }
    /// Whether records of the last result are still to be listed.
    bool isListing() const { return bool(m_pendingScan); }

Q_SIGNALS:
    /// The last record of a result has its row.
    void listed();
    /// The nearby row at list @p index was tapped.
    void rowTapped(int index);

private:
    /// A nearby row and the parts that change from one network to the next.
    struct Row
    {
        QQuickItem *item = nullptr;
        QQuickImage *icon = nullptr;
        QQuickText *name = nullptr;
    };

    Row makeRow(int index);
    void addPendingRows();
    void hideRowsFrom(int index);
    bool isRowShown(const HMI::SSID &ssid) const;

    CardWifi *m_card = nullptr;
    QVector<CardWifi::WIFI_INFO> m_entries;
    QVector<Row> m_rows;      ///< every row made so far, in column order; row i shows list entry i
    int m_rowsInUse = 0;      ///< rows at and after this position are hidden
    HMI::SSID m_hiddenSsid{}; ///< the connected network, whose nearby rows are hidden; empty: none
    std::unique_ptr<std::vector<SsidInfo>> m_pendingScan; ///< records still to list
    std::size_t m_pendingNext = 0;
    QTimer m_rowTimer; ///< lists the next batch of pending records

    // From the document (not owned).
    QQuickBasePositioner *m_column = nullptr;
    QQuickItem *m_current = nullptr;

    // The connected row's parts.
    QQuickImage *m_curSignalIcon = nullptr;
    QQuickText *m_curNameText = nullptr;
    QQuickImage *m_curTick = nullptr;
};

} // namespace QSP
