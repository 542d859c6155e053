#pragma once

#include "GlobalInfo.h"
#include "TestKeyboard.h"
#include "VkbManager.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>
#include <QtQuickTemplates2/private/qquickpopup_p.h>
#include <QtTest>

#include <functional>
#include <memory>

/// What the tests of the touch controls share: one shown, active window, controls made in it, clicks, the
/// buzzer's beeps, and a second run with a test keyboard (the keyboard manager looks for one once a process).
class ControlFixture
{
public:
    ~ControlFixture();

    /// Shows and activates the 800 × 600 window; in the run with a keyboard, hands the keyboard over first.
    bool showWindow();
    QQuickWindow *window() { return &m_window; }
    QQmlEngine *engine() { return &m_engine; }

    /// An object made from @p qml (QtQuick and QQuickSystemSet imported) in the window; null (warned) on
    /// errors.
    QObject *create(const QByteArray &qml);
    /// A control made by T::create() in the window.
    template<typename T>
    T *create()
    {
        return T::create(&m_engine, m_window.contentItem());
    }

    /// Clicks the centre of @p item with the mouse.
    static void click(QQuickItem *item);
    /// Clicks the centre of @p button; true when it emitted exactly one clicked().
    static bool clickButton(QQuickItem *button);
    /// Gives the active focus to an empty item of the window, away from every control.
    void focusElsewhere();

    /// Loads a panel state with the buzzer on or off and clears the call log; false when it was refused.
    static bool setBuzzer(bool on);
    /// How many "beep 1" calls the simulated panel has logged.
    static int beeps();

    /// The test keyboard (200 high) in the run with a keyboard, null in the run without.
    TestKeyboard *keyboard() const { return m_keyboard.get(); }
    /// Runs this program again with a test keyboard and fails when that run fails; skips inside that run.
    static void rerunWithKeyboard();

    /// Whether a popup made by @p make takes its z from GlobalInfo::rootPopupZ(), closes when the settings
    /// root item hides, stays closed when it shows again, and still opens and closes once it is gone.
    bool checkRootPopup(const std::function<QQuickPopup *()> &make);

    /// How many warnings of category "default" @p action writes (they still go on to the test log).
    static int countWarnings(const std::function<void()> &action);

private:
    std::unique_ptr<TestKeyboard> m_keyboard;
    QQmlEngine m_engine;
    QQuickWindow m_window;
    QQuickItem *m_elsewhere = nullptr; ///< owned by the window
};
