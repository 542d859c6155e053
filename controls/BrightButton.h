#pragma once

#include "controls/BeepButton.h"

namespace QSP {

/// The brightness step button: a beeping button that also beeps on every long press.
class BrightButton : public BeepButton
{
    Q_OBJECT

public:
    explicit BrightButton(QQuickItem *parent = nullptr);

    static void registerType();
};

} // namespace QSP
