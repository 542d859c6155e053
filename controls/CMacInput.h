#pragma once

#include "systemset/SystemSet.h"

#include <QMetaType>
#include <QQuickItem>
#include <QSizeF>

class QQmlEngine;
class QQuickTextInput;

namespace QSP {

/// A network adapter's hardware address typed as six hexadecimal pairs separated by colons.
///
/// The field comes from MacInput.qml; this class converts between its text and HMI::MAC and reports the
/// edits that the user confirms with Enter or Return.
class CMacInput : public QQuickItem
{
    Q_OBJECT

public:
    explicit CMacInput(QQuickItem *parent = nullptr);

    /// Makes a control from MacInput.qml in @p engine's root context, owned by and shown in @p parent.
    /// A @p fontPixelSize above 0, and each side of @p size above 0, are set before the fields are first laid
    /// out. Null when the document cannot be loaded (reported once as a warning).
    static CMacInput *create(QQmlEngine *engine, QQuickItem *parent, int fontPixelSize = 0,
                             const QSizeF &size = {});
    /// Compiles MacInput.qml for @p engine ahead of the first create().
    static void prepare(QQmlEngine *engine);
    /// Registers "CMacInput" in "QQuickSystemSet" 1.0 (and HMI::MAC as a meta-type); later calls do nothing.
    static void registerType();

    /// The field's text as shown, for example "00:1A:2B:3C:4D:5E".
    QString macString() const;
    /// The address in the field; a pair that is not hexadecimal reads as 0.
    HMI::MAC mac() const;
    /// Shows @p mac in upper-case pairs; emits nothing.
    void setMac(const HMI::MAC &mac);
    /// The address in @p text (surrounding blanks, case and colons ignored); a pair that is not hexadecimal
    /// reads as 0. What mac() does with the field's text.
    static HMI::MAC parseMac(const QString &text);
    /// @p mac as six upper-case pairs separated by colons, as setMac() shows it.
    static QString formatMac(const HMI::MAC &mac);
    /// Pixel size of the field's font.
    void setFontPixelSize(int size);
    /// Enables or disables the field only (the control itself stays enabled), greying its text and
    /// hiding its frame while disabled.
    void setEnabled(bool enabled);

    /// Called by the document when the field gains the focus: beep and open the full keyboard.
    Q_INVOKABLE void onClick();
    /// The user confirmed the text with Enter or Return.
    Q_INVOKABLE void onAccepted();

Q_SIGNALS:
    /// The user confirmed an address, also an unchanged one.
    void macChangedByEdit(HMI::MAC mac);

protected:
    void componentComplete() override;

private:
    QQuickTextInput *m_input = nullptr; ///< owned by the QML tree
};

} // namespace QSP

Q_DECLARE_METATYPE(HMI::MAC)
