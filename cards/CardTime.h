#pragma once

#include "shell/BaseCard.h"

#include <QDateTime>

class QQuickText;
class QTimer;

namespace QSP {

class TimeEditPopup;

/// The date and time card: the panel's local date, weekday and time, refreshed every second. Tapping the
/// time opens an editor; a confirmed value sets the system clock and, when that succeeds, the hardware
/// clock.
class CardTime : public BaseCard
{
    Q_OBJECT
    /// The text shown, e.g. "2026/11/15 Sun 09:24:00", in the screen's locale.
    Q_PROPERTY(QString currentDateTime READ currentDateTime NOTIFY currentDateTimeChanged)
    /// Height of the card's caption row, the screen's row unit (not rounded), the unit of every size in the
    /// card's document.
    Q_PROPERTY(double timeTitleRowHeight READ timeTitleRowHeight NOTIFY timeTitleRowHeightChanged)

public:
    explicit CardTime(QQuickItem *parent = nullptr);
    ~CardTime() override;

    QString currentDateTime() const { return m_currentDateTime; }
    double timeTitleRowHeight() const { return m_timeTitleRowHeight; }

    /// Renders the current local time; emits currentDateTimeChanged() only when the text differs.
    Q_INVOKABLE void updateDateTime();
    /// Whether the user may set the clock from this card.
    Q_INVOKABLE bool allowUpdateSystemTime() const { return true; }
    /// Opens the date and time editor, filled with the current time.
    Q_INVOKABLE void openDialog();

    /// The editor, or null before the first tap.
    TimeEditPopup *dialog() const { return m_dialog; }

Q_SIGNALS:
    void currentDateTimeChanged();
    void timeTitleRowHeightChanged();

protected:
    void componentComplete() override;

private:
    void addDialog();
    void showDateTime(const QDateTime &dateTime);
    void applyDateTime(const QDateTime &dateTime);

    QString m_currentDateTime;
    double m_timeTitleRowHeight = 0;
    QTimer *m_timer = nullptr;         ///< child of the card
    TimeEditPopup *m_dialog = nullptr; ///< child of the card, made on the first tap
    QQuickText *m_titleText = nullptr; ///< from the document, not owned
    QQuickText *m_dateLabel = nullptr; ///< from the document, not owned
};

} // namespace QSP
