#pragma once

#include <QMetaObject>
#include <QQuickItem>
#include <QStringList>
#include <QVariant>

class QQmlEngine;
class QQuickComboBox;
class QQuickImage;
class QQuickPopup;
class QQuickRectangle;

namespace QSP {

/// The drop-down list of the settings screen.
///
/// Wraps a Qt Quick Controls 2 combo box, built from a short QML text, and gives it the panel's look
/// (white field with a thin grey border that turns blue while the list is open, a down arrow, the current
/// row in light blue), the buzzer click, and a model made of names: a list of maps whose key "name" holds
/// the text shown. The inner combo box fills the wrapper; position and size the wrapper.
class ComboBox : public QQuickItem
{
    Q_OBJECT
    /// Row chosen in the list, -1 for none (or when the inner combo box could not be made).
    Q_PROPERTY(int currentIndex READ currentIndex WRITE setCurrentIndex NOTIFY currentIndexChanged)
    /// The rows: a list of maps, each with the key "name". Replacing it keeps the current index.
    Q_PROPERTY(QVariant model READ model WRITE setModel NOTIFY modelChanged)
    /// Pixel size of the field's and the rows' text (20 by default; only positive sizes are taken).
    Q_PROPERTY(int fontPixelSize READ fontPixelSize WRITE setFontPixelSize NOTIFY fontPixelSizeChanged)

public:
    explicit ComboBox(QQuickItem *parent = nullptr);
    ~ComboBox() override;

    int currentIndex() const;
    void setCurrentIndex(int index);

    QVariant model() const;
    void setModel(const QVariant &model);
    /// One row per string, in order; a convenience for native callers.
    void setStringListModel(const QStringList &names);

    int fontPixelSize() const { return m_fontPixelSize; }
    void setFontPixelSize(int size);

    static void registerType();
    /// Compiles the combo box's documents (and the style's documents they use) for @p engine ahead of the
    /// first combo box.
    static void prepare(QQmlEngine *engine);

Q_SIGNALS:
    void currentIndexChanged();
    /// The user picked row @p index; emitted after the click sound.
    void activated(int index);
    void modelChanged();
    void fontPixelSizeChanged();

private:
    void createInnerComboBox();
    void relayCurrentIndex();
    void updateBorders();
    void updateSizes();

    QQuickComboBox *m_comboBox = nullptr;
    QQuickRectangle *m_fieldBackground = nullptr;
    QQuickRectangle *m_listBackground = nullptr;
    QQuickPopup *m_popup = nullptr;
    QQuickImage *m_indicator = nullptr;
    int m_fontPixelSize = 20;
    QMetaObject::Connection m_currentIndexRelay;
};

} // namespace QSP
