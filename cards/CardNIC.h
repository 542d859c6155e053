#pragma once

#include "shell/BaseCard.h"

#include <QVariantList>

class QQuickText;

namespace QSP {

class BeepButton;
class ComboBox;

/// The default adapter of the panel and a ping test through it.
///
/// The combo box offers the adapters that are present and switched on (never the VPN) and follows the
/// Network card's "Disable Network" switches. Each ping result is shown in a dialog of its own, which
/// closes itself after three seconds.
class CardNIC : public BaseCard
{
    Q_OBJECT
    /// Height of the card's rows, derived from the screen (52 on a 1024 pixels wide screen).
    Q_PROPERTY(qreal titleRowHeight READ titleRowHeight NOTIFY titleRowHeightChanged)

public:
    explicit CardNIC(QQuickItem *parent = nullptr);

    qreal titleRowHeight() const { return m_titleRowHeight; }

    /// The offered adapters, in the order LAN0, LAN1, Wi-Fi, 4G: maps with "key" (untranslated label),
    /// "name" (translated label) and "nic" (the NIC value).
    QVariantList createModel() const;
    /// Selects the system's default adapter, or nothing when it is not offered.
    void initComboxCurrentIndex();
    /// Offers the adapters afresh and selects the default one.
    void updateComboBoxModel();

Q_SIGNALS:
    void titleRowHeightChanged();
    /// A ping test finished; emitted on the GUI thread once the system reported it.
    void pingTestResult(bool result);

public Q_SLOTS:
    /// Shows @p result in a dialog of its own that closes itself after three seconds.
    void onPingTestResult(bool result);

protected:
    void componentComplete() override;

private:
    void startPingTest();
    void onCurrentIndexChanged();

    qreal m_titleRowHeight = 0;
    QQuickText *m_titleText = nullptr; ///< the document's parts, owned by the QML tree
    QQuickText *m_networkText = nullptr;
    QQuickText *m_pingTestText = nullptr;
    QQuickText *m_testButtonText = nullptr;
    ComboBox *m_comboBox = nullptr;
    BeepButton *m_testButton = nullptr;
};

} // namespace QSP
