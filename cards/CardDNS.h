#pragma once

#include "shell/BaseCard.h"

#include <QPair>
#include <QString>

class QQuickText;

namespace QSP {

class CIpInput;
class CardNetwork;

/// The two DNS servers of the interface selected on the Network card.
///
/// The card has no choice of its own: it follows the Network card's selection, and its fields can be edited
/// only while that interface's addresses may be typed in (a wired or Wi-Fi adapter, switched on, static).
/// Both servers are always written together. Nothing is kept: every display reads the system again.
class CardDNS : public BaseCard
{
    Q_OBJECT
    /// Height of the card's rows, derived from the screen (52 on a 1024 pixels wide screen).
    Q_PROPERTY(qreal titleRowHeight READ titleRowHeight NOTIFY titleRowHeightChanged)

public:
    explicit CardDNS(QQuickItem *parent = nullptr);

    qreal titleRowHeight() const { return m_titleRowHeight; }

    /// Shows the selected interface's servers, leaving a field that is being edited alone.
    Q_INVOKABLE void loadDnsAndShow() const;
    /// Writes both servers of the selected interface; a text that is not an address is written as 0.
    void saveDns(const QPair<QString, QString> &dns);
    /// Enables the fields exactly when the selected interface's addresses may be typed in.
    Q_INVOKABLE void updateEnable_DNS();
    /// Shows 0.0.0.0 in both fields without writing anything.
    void disableDns();

Q_SIGNALS:
    void titleRowHeightChanged();

protected:
    void componentComplete() override;

private:
    void saveBoth();

    qreal m_titleRowHeight = 0;
    CIpInput *m_dns1Input = nullptr; ///< from the document, owned by the QML tree
    CIpInput *m_dns2Input = nullptr;
    QQuickText *m_titleText = nullptr;
    QQuickText *m_dns1Text = nullptr;
    QQuickText *m_dns2Text = nullptr;
};

} // namespace QSP
