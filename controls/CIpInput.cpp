#include "controls/CIpInput.h"

#include "controls/BeepButton.h"
#include "controls/VkbManager.h"
#include "shell/ComponentCache.h"
#include "shell/DocumentPart.h"
#include "shell/QmlTypes.h"

#include <QClipboard>
#include <QColor>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QStringList>
#include <QVector>
#include <QtQuick/private/qquicktextinput_p.h>

namespace QSP {

namespace {

const QColor EnabledTextColor(0x00, 0x00, 0x00);
const QColor DisabledTextColor(0xB4, 0xB4, 0xB4);

/// One number of a dotted address: 1 to 3 decimal digits (leading zeros are decimal, not octal).
bool parseOctet(const QString &part, quint32 *value)
{
    if (part.isEmpty() || part.size() > 3)
        return false;
    quint32 number = 0;
    for (const QChar c : part) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
        number = number * 10 + quint32(c.unicode() - '0');
    }
    if (number > 255)
        return false;
    *value = number;
    return true;
}

/// Whether the window's active focus is in a text field now; that field keeps the keyboard for itself.
bool textFieldFocused(const QQuickItem *item)
{
    const QQuickWindow *window = item->window();
    return window && qobject_cast<QQuickTextInput *>(window->activeFocusItem());
}

} // namespace

CIpInput::CIpInput(QQuickItem *parent)
    : QQuickItem(parent)
{}

namespace {

constexpr char Document[] = "qrc:/setting/flatui/IpInput.qml";

} // namespace

CIpInput *CIpInput::create(QQmlEngine *engine, QQuickItem *parent, int fontPixelSize, const QSizeF &size)
{
    const auto setUp = [fontPixelSize, size](QQuickItem *item) {
        if (fontPixelSize > 0)
            static_cast<CIpInput *>(item)->setFontPixelSize(fontPixelSize);
        if (size.width() > 0)
            item->setWidth(size.width());
        if (size.height() > 0)
            item->setHeight(size.height());
    };
    return createFromDocument<CIpInput>(Document, engine, parent, "address input", setUp);
}

void CIpInput::prepare(QQmlEngine *engine)
{
    if (engine)
        documentOf<CIpInput>(Document).component(engine);
}

void CIpInput::registerType()
{
    registerQmlType<CIpInput>("CIpInput");
}

bool CIpInput::parseAddress(const QString &text, quint32 *address)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 4)
        return false;
    quint32 result = 0;
    for (const QString &part : parts) {
        quint32 octet = 0;
        if (!parseOctet(part, &octet))
            return false;
        result = (result << 8) | octet;
    }
    if (address)
        *address = result;
    return true;
}

void CIpInput::setEditing(bool editing)
{
    if (editing == m_editing)
        return;
    m_editing = editing;
    emit editingChanged();
}

void CIpInput::setFontPixelSize(int size)
{
    if (size == m_fontPixelSize)
        return;
    m_fontPixelSize = size;
    emit fontPixelSizeChanged();
}

void CIpInput::setIp(const QString &text)
{
    if (!parseAddress(text))
        return;
    showInFields(text);
    internalSetIp(text);
}

void CIpInput::clear()
{
    showInFields(QStringLiteral("0.0.0.0"));
    internalSetIp(QString());
}

void CIpInput::onClick()
{
    BeepButton::beepIfOn();
    VkbManager &vkb = VkbManager::instance();
    vkb.showVkb(true);
    // Only a keyboard that is there can take a layout.
    if (vkb.isVisible())
        vkb.setLayoutType(VkbLayout_IPv4);
}

void CIpInput::onFocusChanged(bool focused)
{
    setEditing(hasFields() && (m_input0->hasActiveFocus() || m_input1->hasActiveFocus() ||
                               m_input2->hasActiveFocus() || m_input3->hasActiveFocus()));
    // Moving on to the next number, or to any other text field, keeps the keyboard; leaving puts it away.
    if (!focused && !textFieldFocused(this))
        VkbManager::instance().showVkb(false);
    if (auto *field = qobject_cast<QQuickTextInput *>(sender())) {
        if (field->hasActiveFocus())
            field->selectAll();
    }
}

void CIpInput::onEditingChanged()
{
    if (m_editing || !hasFields())
        return;
    const QString before = m_ip;
    const QString assembled =
        QStringList{m_input0->text(), m_input1->text(), m_input2->text(), m_input3->text()}.join(
            QLatin1Char('.'));
    internalSetIp(assembled);
    if (assembled != before) {
        quint32 address = 0; // stays 0 when the fields do not make an address
        parseAddress(assembled, &address);
        emit ipChangedByEdit(address);
    }
}

void CIpInput::onEnableChanged()
{
    if (!hasFields())
        return;
    const bool enabled = isEnabled();
    const QColor &color = enabled ? EnabledTextColor : DisabledTextColor;
    for (QQuickTextInput *field : {m_input0, m_input1, m_input2, m_input3}) {
        field->setEnabled(enabled);
        field->setColor(color);
    }
}

void CIpInput::componentComplete()
{
    QQuickItem::componentComplete();
    auto field = [this](const char *name) { return documentPart<QQuickTextInput>(this, name); };
    m_input0 = field("ipi0");
    m_input1 = field("ipi1");
    m_input2 = field("ipi2");
    m_input3 = field("ipi3");
    if (hasFields()) {
        for (QQuickTextInput *input : {m_input0, m_input1, m_input2, m_input3}) {
            connect(input, &QQuickItem::activeFocusChanged, this, &CIpInput::onFocusChanged);
            input->installEventFilter(this);
        }
    }
    connect(this, &CIpInput::editingChanged, this, &CIpInput::onEditingChanged);
    connect(this, &QQuickItem::enabledChanged, this, &CIpInput::onEnableChanged);

    // An address or a disabled state given before the fields existed (in a QML declaration).
    if (!m_ip.isEmpty())
        showInFields(m_ip);
    if (!isEnabled())
        onEnableChanged();
}

void CIpInput::internalSetIp(const QString &text)
{
    if (text == m_ip)
        return;
    m_ip = text;
    emit ipChanged();
}

void CIpInput::showInFields(const QString &text)
{
    if (!hasFields())
        return;
    const QStringList parts = text.split(QLatin1Char('.'));
    const QVector<QQuickTextInput *> fields{m_input0, m_input1, m_input2, m_input3};
    for (int i = 0; i < fields.size() && i < parts.size(); ++i)
        fields[i]->setText(parts[i]);
}

bool CIpInput::eventFilter(QObject *watched, QEvent *event)
{
    const int index = fieldIndex(watched);
    if (index < 0)
        return QQuickItem::eventFilter(watched, event);
    if (event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (key->matches(QKeySequence::Paste)) {
            const QClipboard *clipboard = QGuiApplication::clipboard();
            return clipboard && fillFromText(clipboard->text());
        }
        const QString text = key->text();
        if (text.size() > 1) // a whole address in one event
            return fillFromText(text);
        // People type addresses with their dots: a dot ends this number and goes on to the next. It never
        // goes into a field, where the digits on either side of it would run together.
        if (key->key() == Qt::Key_Period || text == QLatin1String(".")) {
            moveToNextField(index);
            return true;
        }
        if (key->key() == Qt::Key_Tab && key->modifiers() == Qt::NoModifier)
            return moveToNextField(index);
    } else if (event->type() == QEvent::InputMethod) {
        // An input method may hand over a whole address, or a dot, as committed text.
        const QString commit = static_cast<QInputMethodEvent *>(event)->commitString();
        if (commit == QLatin1String(".")) {
            moveToNextField(index);
            return true;
        }
        if (commit.contains(QLatin1Char('.')))
            return fillFromText(commit);
    }
    return QQuickItem::eventFilter(watched, event);
}

bool CIpInput::fillFromText(const QString &text)
{
    quint32 address = 0;
    if (!hasFields() || !parseAddress(text.trimmed(), &address))
        return false;
    QStringList parts;
    for (int shift = 24; shift >= 0; shift -= 8)
        parts << QString::number((address >> shift) & 0xFF);
    showInFields(parts.join(QLatin1Char('.')));
    return true;
}

bool CIpInput::moveToNextField(int index)
{
    const QVector<QQuickTextInput *> fields{m_input0, m_input1, m_input2, m_input3};
    if (index < 0 || index >= fields.size() - 1 || fields[index]->text().isEmpty())
        return false;
    fields[index + 1]->forceActiveFocus(Qt::TabFocusReason);
    return true;
}

int CIpInput::fieldIndex(const QObject *object) const
{
    if (!object)
        return -1;
    const QVector<const QObject *> fields{m_input0, m_input1, m_input2, m_input3};
    return fields.indexOf(object);
}

bool CIpInput::hasFields() const
{
    return m_input0 && m_input1 && m_input2 && m_input3;
}

} // namespace QSP
