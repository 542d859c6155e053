#pragma once

#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>

namespace QSP {

/// A push button that clicks the buzzer (when it is on) and puts the on-screen keyboard away on every click.
///
/// Also the one owner of the process-wide buzzer state that every control and the buzzer card use.
class BeepButton : public QQuickAbstractButton
{
    Q_OBJECT

public:
    explicit BeepButton(QQuickItem *parent = nullptr);

    /// Whether a click hides the keyboard (default true).
    void setAutoCloseVkb(bool autoClose) { m_autoCloseVkb = autoClose; }
    bool autoCloseVkb() const { return m_autoCloseVkb; }

    /// Asks the system whether the buzzer is on, and remembers the answer.
    static bool isBuzzerOn();
    /// Writes the buzzer setting on a worker thread and waits for it; nothing when @p on is what was last
    /// seen.
    static void setBuzzerOn(bool on);
    /// One click of the buzzer, when it is on.
    static void beepIfOn() noexcept;
    /// The buzzer state last read or written.
    static bool cachedBuzzerOn() { return _isBuzzerOn; }
    /// Records a state read elsewhere (the buzzer card on opening).
    static void setCachedBuzzerOn(bool on) { _isBuzzerOn = on; }

    static void registerType();

public Q_SLOTS:
    /// The click reaction: beep, and put the keyboard away unless told not to.
    void onClickEvent() noexcept;

protected:
    /// Whether the release being handled ends in clicked() (not after a long press or a double click).
    bool clickFollows() const;

private:
    static bool _isBuzzerOn;
    bool m_autoCloseVkb = true;
};

} // namespace QSP
