#pragma once

#include <QQuickItem>
#include <QSizeF>
#include <QString>

class QQmlEngine;
class QQuickTextInput;

namespace QSP {

/// An IPv4 address typed on the touch screen: four numeric fields separated by dots, each opening the
/// address keyboard when touched.
///
/// The fields come from IpInput.qml (one IpInputRect.qml per number); this class watches their focus,
/// assembles the dotted text when the editing ends and reports the user's changes as a 32-bit address.
class CIpInput : public QQuickItem
{
    Q_OBJECT
    /// True while one of the four fields has the active focus; the address is assembled when it falls.
    Q_PROPERTY(bool editing READ editing WRITE setEditing NOTIFY editingChanged)
    /// Pixel size of the digits and of the dots between them.
    Q_PROPERTY(int fontPixelSize READ fontPixelSize WRITE setFontPixelSize NOTIFY fontPixelSizeChanged)
    /// The address in dotted form, as last assembled from the fields or set; empty after clear().
    Q_PROPERTY(QString ip READ ip WRITE setIp NOTIFY ipChanged)

public:
    explicit CIpInput(QQuickItem *parent = nullptr);

    /// Makes a control from IpInput.qml in @p engine's root context, owned by and shown in @p parent.
    /// A @p fontPixelSize above 0, and each side of @p size above 0, are set before the fields are first laid
    /// out. Null when the document cannot be loaded (reported once as a warning).
    static CIpInput *create(QQmlEngine *engine, QQuickItem *parent, int fontPixelSize = 0,
                            const QSizeF &size = {});
    /// Compiles IpInput.qml for @p engine ahead of the first create().
    static void prepare(QQmlEngine *engine);
    /// Registers "CIpInput" in "QQuickSystemSet" 1.0; later calls do nothing.
    static void registerType();

    bool editing() const { return m_editing; }
    void setEditing(bool editing);

    int fontPixelSize() const { return m_fontPixelSize; }
    void setFontPixelSize(int size);

    QString ip() const { return m_ip; }
    /// Shows a dotted IPv4 address in the fields and stores it; anything else is ignored.
    void setIp(const QString &text);
    /// Shows 0.0.0.0 and forgets the address: ip() becomes empty.
    void clear();

    /// The address of a dotted text as a number, first octet in the most significant byte; false when
    /// @p text is not four decimal numbers from 0 to 255 (leading zeros are decimal, not octal).
    static bool parseAddress(const QString &text, quint32 *address = nullptr);

    /// Called by the document when a field gains the focus: beep and open the address keyboard.
    Q_INVOKABLE void onClick();

Q_SIGNALS:
    /// Any change of ip, by editing, setIp() or clear().
    void ipChanged();
    /// The user's editing changed the address; 0 when the fields do not make an address.
    void ipChangedByEdit(unsigned int ip);
    void fontPixelSizeChanged();
    void editingChanged();

public Q_SLOTS:
    /// A field's active focus changed (@p focused is its new state).
    void onFocusChanged(bool focused);
    /// Assembles and publishes the address when the editing has ended.
    void onEditingChanged();
    /// Follows the control's enabled state in the fields and the colour of their digits.
    void onEnableChanged();

protected:
    void componentComplete() override;
    /// Dots, the keyboard's next key and whole addresses typed or pasted into a field.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// Shows a whole dotted address typed or pasted at once in the four fields; false when @p text is none.
    bool fillFromText(const QString &text);
    /// Moves the editing on from field @p index to the next one, as a dot does; false from the last field
    /// or from an empty one.
    bool moveToNextField(int index);
    int fieldIndex(const QObject *object) const;

    void internalSetIp(const QString &text);
    void showInFields(const QString &text);
    bool hasFields() const;

    bool m_editing = false;
    int m_fontPixelSize = 20;
    QString m_ip;
    QQuickTextInput *m_input0 = nullptr; ///< owned by the QML tree, like the three below
    QQuickTextInput *m_input1 = nullptr;
    QQuickTextInput *m_input2 = nullptr;
    QQuickTextInput *m_input3 = nullptr;
};

} // namespace QSP
