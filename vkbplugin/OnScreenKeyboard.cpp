#include "vkbplugin/OnScreenKeyboard.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodQueryEvent>
#include <QKeyEvent>
#include <QLoggingCategory>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtGui/private/qguiapplication_p.h>
#include <QtQuickTemplates2/private/qquickpopup_p.h>
#include <qpa/qplatforminputcontext.h>
#include <qpa/qplatformintegration.h>

#define QSP_KEYBOARD_EXPORT __attribute__((visibility("default")))

namespace QSP {

namespace {

/// The key the panel's keyboards send when their hide key is pressed; the screen's fields end their editing
/// on it. Qt has no name for it.
constexpr int HideKey = 0x00100000;

/// Whether @p object takes text from an input method now.
bool acceptsInput(QObject *object)
{
    if (!object)
        return false;
    QInputMethodQueryEvent query(Qt::ImEnabled);
    QCoreApplication::sendEvent(object, &query);
    return query.value(Qt::ImEnabled).toBool();
}

QLoggingCategory::CategoryFilter g_previousFilter = nullptr;

/// Qt Virtual Keyboard's word prediction warns once that it has no dictionary. No layout of the screen
/// predicts words (the hints turn prediction off), so that warning says nothing here.
void withoutDictionaryWarning(QLoggingCategory *category)
{
    if (g_previousFilter)
        g_previousFilter(category);
    if (qstrcmp(category->categoryName(), "qt.virtualkeyboard.hunspell") == 0)
        category->setEnabled(QtWarningMsg, false);
}

} // namespace

void OnScreenKeyboard::init(QQuickWindow *window, int z)
{
    m_z = z;
    if (m_popup)
        m_popup->setZ(z);
    attachTo(window);
}

QQuickPopup *OnScreenKeyboard::popup()
{
    // After the window it showed in has gone, the popup is made again for the window of the field.
    if (!m_popup) {
        if (auto *field = qobject_cast<QQuickItem *>(QGuiApplication::focusObject()))
            attachTo(field->window());
    }
    return m_popup;
}

QQuickItem *OnScreenKeyboard::keyboardItem()
{
    return m_panel;
}

void OnScreenKeyboard::attachTo(QQuickWindow *window)
{
    if (!window || (m_popup && window == m_window))
        return;
    if (!m_popup) {
        static const bool filtered = [] {
            g_previousFilter = QLoggingCategory::installFilter(withoutDictionaryWarning);
            return true;
        }();
        Q_UNUSED(filtered)
        m_engine = new QQmlEngine(this);
        QQmlComponent document(m_engine, QUrl(QStringLiteral("qrc:/qspkeyboard/Keyboard.qml")));
        QObject *made = document.create();
        m_popup = qobject_cast<QQuickPopup *>(made);
        if (!m_popup) {
            qWarning("QSP::OnScreenKeyboard: %s", qPrintable(document.errorString()));
            delete made;
            delete m_engine;
            return;
        }
        m_popup->setParent(m_engine);
        m_popup->setZ(m_z);
        m_panel = m_popup->property("inputPanel").value<QQuickItem *>();
        connect(m_popup, SIGNAL(panelDeactivated()), this, SLOT(onPanelDeactivated()));
    }
    if (m_window)
        disconnect(m_window, &QObject::destroyed, this, &OnScreenKeyboard::release);
    m_window = window;
    connect(window, &QObject::destroyed, this, &OnScreenKeyboard::release);
    m_popup->setParentItem(window->contentItem());
}

void OnScreenKeyboard::release()
{
    setVisible(false); // the screen hears that the keyboard is gone
    delete m_popup;
    delete m_engine;
}

void OnScreenKeyboard::setVisible(bool visible)
{
    if (!m_popup)
        return;
    if (!visible) {
        m_hiding = true;
        m_popup->close();
        QGuiApplication::inputMethod()->hide();
        m_hiding = false;
        return;
    }
    // The keyboard goes where the field is: the window it was made for may be gone, or another one edits.
    if (auto *field = qobject_cast<QQuickItem *>(QGuiApplication::focusObject()))
        attachTo(field->window());
    // The field brought up Qt Virtual Keyboard's input panel when it took the focus; the popup shows it.
    if (m_popup->window())
        m_popup->open();
}

void OnScreenKeyboard::setPosition(const QPointF &position)
{
    if (!m_popup)
        return;
    m_popup->setProperty("place", position);
    m_popup->setProperty("placed", true);
}

void OnScreenKeyboard::setLayoutType(VkbLayoutType type)
{
    m_layout = type;
    QObject *field = QGuiApplication::focusObject();
    if (!acceptsInput(field))
        return;
    // The field tells the input method which keys it takes; the input panel chooses its layout from that.
    field->setProperty("inputMethodHints", int(hintsFor(type)));
    QGuiApplication::inputMethod()->update(Qt::ImHints);
}

bool OnScreenKeyboard::isVisible() const
{
    return m_popup && m_popup->isVisible();
}

Qt::InputMethodHints OnScreenKeyboard::hintsFor(VkbLayoutType type)
{
    switch (type) {
    case VkbLayout_IPv4:
        return Qt::ImhFormattedNumbersOnly;
    case VkbLayout_Number:
    case VkbLayout_DateTime:
        return Qt::ImhDigitsOnly;
    case VkbLayout_Phone:
        return Qt::ImhDialableCharactersOnly;
    case VkbLayout_Email:
        return Qt::ImhEmailCharactersOnly;
    case VkbLayout_Full:
        break;
    }
    return Qt::ImhSensitiveData | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase;
}

bool OnScreenKeyboard::inputMethodAvailable()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return false;
    const QPlatformIntegration *integration = QGuiApplicationPrivate::platformIntegration();
    const QPlatformInputContext *context = integration ? integration->inputContext() : nullptr;
    return context && context->inherits("QtVirtualKeyboard::PlatformInputContext");
}

void OnScreenKeyboard::onPanelDeactivated()
{
    if (m_hiding || !isVisible())
        return;
    // The field still takes text, so the panel's own hide key put it away: the field hears that key, as from
    // the panel's keyboards, and ends its editing.
    QObject *field = QGuiApplication::focusObject();
    if (acceptsInput(field)) {
        QKeyEvent press(QEvent::KeyPress, HideKey, Qt::NoModifier);
        QCoreApplication::sendEvent(field, &press);
        QKeyEvent release(QEvent::KeyRelease, HideKey, Qt::NoModifier);
        QCoreApplication::sendEvent(field, &release);
    }
    setVisible(false);
}

} // namespace QSP

/// The plug-in's entry point (see VkbCreateFunction): the process's one keyboard, or null when the
/// application does not take its text input from Qt Virtual Keyboard.
extern "C" QSP_KEYBOARD_EXPORT VkbInterface *qvkbCreateKeyboard()
{
    if (!QSP::OnScreenKeyboard::inputMethodAvailable()) {
        qInfo("on-screen keyboard: the application's input method is not Qt Virtual Keyboard "
              "(QT_IM_MODULE=qtvirtualkeyboard); no keyboard");
        return nullptr;
    }
    // In its desktop mode Qt Virtual Keyboard shows a window of its own for every field, beside this one.
    bool number = false;
    if (qEnvironmentVariableIntValue("QT_VIRTUALKEYBOARD_DESKTOP_DISABLE", &number) == 0 || !number) {
        qWarning("on-screen keyboard: QT_VIRTUALKEYBOARD_DESKTOP_DISABLE=1 was not set when the application "
                 "was made; Qt Virtual Keyboard shows its own window instead of this keyboard");
        return nullptr;
    }
    static QSP::OnScreenKeyboard *keyboard = new QSP::OnScreenKeyboard; // lives as long as the process
    return keyboard;
}
