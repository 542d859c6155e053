#pragma once

#include "shell/BaseCard.h"

class QQuickText;

namespace QSP {

/// The buzzer card: one switch that turns the panel's key clicks on and off.
///
/// The card keeps no state of its own: it reads and writes through BeepButton's buzzer functions, so the
/// card, every beeping control and the system always agree.
class CardBuzzer : public BaseCard
{
    Q_OBJECT
    /// Height of the card's title row, the screen's row unit in whole pixels; every size of the card's
    /// document derives from it.
    Q_PROPERTY(int buzzerTitleRowHeight READ buzzerTitleRowHeight CONSTANT)
    /// Whether the buzzer is on, as the system reports it at the moment of reading.
    Q_PROPERTY(bool buzzerOn READ buzzerOn WRITE setBuzzerOn NOTIFY buzzerOnChanged)

public:
    explicit CardBuzzer(QQuickItem *parent = nullptr);

    int buzzerTitleRowHeight() const { return m_buzzerTitleRowHeight; }

    bool buzzerOn() const;
    /// Writes the setting (on a worker thread, waiting for it); emits nothing, the switch already shows it.
    void setBuzzerOn(bool on);

    /// The switch was tapped: writes the opposite of the system's current setting.
    Q_INVOKABLE void switchClicked();

Q_SIGNALS:
    void buzzerOnChanged();

protected:
    void componentComplete() override;

private:
    void refresh();

    int m_buzzerTitleRowHeight = 0;
    QQuickText *m_titleText = nullptr;   ///< from the document, not owned
    QQuickText *m_buzzerLabel = nullptr; ///< from the document, not owned
};

} // namespace QSP
