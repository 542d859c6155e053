#pragma once

#include "shell/BaseCard.h"

class QQuickText;

namespace QSP {

/// The brightness card: a slider with minus and plus step buttons for the panel's backlight.
///
/// Every step is applied to the backlight at once and kept by the system only when the finger is lifted.
class CardBrightness : public BaseCard
{
    Q_OBJECT
    /// Height of the card's title row, the screen's row unit in whole pixels; every size of the card's
    /// document derives from it.
    Q_PROPERTY(int brightnessTitleRowHeight READ brightnessTitleRowHeight CONSTANT)
    /// The backlight level, 1 to 32 (a level read from the system is shown as it is until changed).
    Q_PROPERTY(
        int brightnessValue READ brightnessValue WRITE setBrightnessValue NOTIFY brightnessValueChanged)

public:
    explicit CardBrightness(QQuickItem *parent = nullptr);

    int brightnessTitleRowHeight() const { return m_brightnessTitleRowHeight; }
    int brightnessValue() const { return m_brightnessValue; }

    /// Clamps @p value to 1..32 and, when that changes the level, applies it to the backlight.
    Q_INVOKABLE void setBrightnessValue(int value);
    /// Applies the current level and has the system keep it, whether it changed or not.
    Q_INVOKABLE void saveBrightness();
    /// One click of the buzzer, when it is on (for the slider, which is no beeping button).
    Q_INVOKABLE void beepIfOn();

Q_SIGNALS:
    void brightnessValueChanged();

protected:
    void componentComplete() override;

private:
    int m_brightnessTitleRowHeight = 0;
    int m_brightnessValue = 16;
    bool m_completed = false;
    QQuickText *m_titleText = nullptr; ///< from the document, not owned
};

} // namespace QSP
