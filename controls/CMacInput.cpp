#include "controls/CMacInput.h"

#include "controls/BeepButton.h"
#include "controls/VkbManager.h"
#include "shell/ComponentCache.h"
#include "shell/DocumentPart.h"
#include "shell/QmlTypes.h"

#include <QColor>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QStringList>
#include <QtQuick/private/qquicktextinput_p.h>

namespace QSP {

namespace {

/// Whether the window's active focus is in a text field now; that field keeps the keyboard for itself.
bool textFieldFocused(const QQuickItem *item)
{
    const QQuickWindow *window = item->window();
    return window && qobject_cast<QQuickTextInput *>(window->activeFocusItem());
}

void registerMacMetaType()
{
    static const int id = qRegisterMetaType<HMI::MAC>("HMI::MAC");
    Q_UNUSED(id)
}

} // namespace

CMacInput::CMacInput(QQuickItem *parent)
    : QQuickItem(parent)
{
    registerMacMetaType();
}

namespace {

constexpr char Document[] = "qrc:/setting/flatui/MacInput.qml";

} // namespace

CMacInput *CMacInput::create(QQmlEngine *engine, QQuickItem *parent, int fontPixelSize, const QSizeF &size)
{
    const auto setUp = [fontPixelSize, size](QQuickItem *item) {
        if (fontPixelSize > 0)
            static_cast<CMacInput *>(item)->setFontPixelSize(fontPixelSize);
        if (size.width() > 0)
            item->setWidth(size.width());
        if (size.height() > 0)
            item->setHeight(size.height());
    };
    return createFromDocument<CMacInput>(Document, engine, parent, "MAC address input", setUp);
}

void CMacInput::prepare(QQmlEngine *engine)
{
    if (engine)
        documentOf<CMacInput>(Document).component(engine);
}

void CMacInput::registerType()
{
    registerMacMetaType();
    registerQmlType<CMacInput>("CMacInput");
}

QString CMacInput::macString() const
{
    return m_input ? m_input->text() : QString();
}

HMI::MAC CMacInput::mac() const
{
    return parseMac(macString());
}

HMI::MAC CMacInput::parseMac(const QString &text)
{
    const QString digits = text.trimmed().toLower().remove(QLatin1Char(':'));
    HMI::MAC result{};
    for (int i = 0; i < 12; i += 2) {
        bool ok = false;
        const uint value = digits.mid(i, 2).toUInt(&ok, 16);
        result[std::size_t(i / 2)] = ok ? static_cast<unsigned char>(value & 0xFF) : 0;
    }
    return result;
}

void CMacInput::setMac(const HMI::MAC &mac)
{
    if (!m_input)
        return;
    m_input->setText(formatMac(mac));
}

QString CMacInput::formatMac(const HMI::MAC &mac)
{
    QStringList pairs;
    for (const unsigned char byte : mac)
        pairs << QStringLiteral("%1").arg(uint(byte), 2, 16, QLatin1Char('0')).toUpper();
    return pairs.join(QLatin1Char(':'));
}

void CMacInput::setFontPixelSize(int size)
{
    if (!m_input || size <= 0)
        return;
    QFont font = m_input->font();
    font.setPixelSize(size);
    m_input->setFont(font);
}

void CMacInput::setEnabled(bool enabled)
{
    if (!m_input)
        return;
    m_input->setEnabled(enabled);
    m_input->setColor(enabled ? QColor(0x00, 0x00, 0x00) : QColor(0xB4, 0xB4, 0xB4));
}

void CMacInput::onClick()
{
    BeepButton::beepIfOn();
    VkbManager &vkb = VkbManager::instance();
    vkb.showVkb(true);
    // Only a keyboard that is there can take a layout.
    if (vkb.isVisible())
        vkb.setLayoutType(VkbLayout_Full);
}

void CMacInput::onAccepted()
{
    VkbManager::instance().showVkb(false);
    emit macChangedByEdit(mac());
}

void CMacInput::componentComplete()
{
    QQuickItem::componentComplete();
    m_input = documentPart<QQuickTextInput>(this, "input");
    if (!m_input)
        return;
    connect(m_input, &QQuickTextInput::accepted, this, &CMacInput::onAccepted);
    // Leaving the field any other way (Escape, the keyboard's hide key) also puts the keyboard away, unless
    // the focus went on to another text field.
    connect(m_input, &QQuickItem::activeFocusChanged, this, [this](bool focused) {
        if (!focused && !textFieldFocused(this))
            VkbManager::instance().showVkb(false);
    });
}

} // namespace QSP
