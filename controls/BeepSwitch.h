#pragma once

#include "controls/BeepButton.h"

class QQuickRectangle;

namespace QSP {

/// An on/off switch drawn natively: a pill-shaped track and a white knob that jumps to the side of the
/// state. A click beeps, puts the keyboard away and toggles.
class BeepSwitch : public BeepButton
{
    Q_OBJECT
    /// The switch position.
    Q_PROPERTY(bool on READ on WRITE setOn NOTIFY onChanged)

public:
    explicit BeepSwitch(QQuickItem *parent = nullptr);

    bool on() const { return m_on; }
    void setOn(bool on);

    static void registerType();

Q_SIGNALS:
    void onChanged(bool nowOn);

public Q_SLOTS:
    /// Enables or disables the switch, drawing it at half opacity while disabled.
    void onChangeEnabled(bool bEnabled);
    /// Moves the knob and recolours the track after a change of position.
    void onOnChanged();
    /// Toggles the switch.
    void onClickEvent();

private:
    void updateFrontRect();

    bool m_on = false;
    QQuickRectangle *m_track = nullptr; ///< the background, owned
    QQuickRectangle *m_knob = nullptr;  ///< owned
};

} // namespace QSP
