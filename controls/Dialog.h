#pragma once

#include <QMetaObject>
#include <QPointer>
#include <QString>
#include <QtQuickTemplates2/private/qquickpopup_p.h>

class QQuickRectangle;
class QQuickText;

namespace QSP {

class BeepButton;

/// The pop-up frame of the settings screen: a rounded, bordered panel with a title bar (title on the left,
/// an optional close button on the right), a one-pixel separator and a body item supplied by its user.
///
/// Modality, close policy, size and position are left to the user, as for any popup. Set the geometry
/// before the body item: the body takes its size from the content item when it is set. The dialog closes
/// itself when the settings screen is hidden.
class Dialog : public QQuickPopup
{
    Q_OBJECT
    /// Text of the title bar.
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    /// Whether the title bar shows a close button (off by default); the button beeps and closes the dialog.
    Q_PROPERTY(bool enableCloseButton READ enableCloseButton WRITE setEnableCloseButton NOTIFY
                   enableCloseButtonChanged)
    /// The user's content, placed below the separator; the dialog becomes its parent.
    Q_PROPERTY(QQuickItem *bodyItem READ bodyItem WRITE setBodyItem NOTIFY bodyItemChanged)

public:
    explicit Dialog(QQuickItem *parent = nullptr);
    ~Dialog() override;

    QString title() const;
    void setTitle(const QString &title);

    bool enableCloseButton() const { return m_enableCloseButton; }
    void setEnableCloseButton(bool enable);

    QQuickItem *bodyItem() const { return m_bodyItem; }
    void setBodyItem(QQuickItem *item);

    static void registerType();

Q_SIGNALS:
    void enableCloseButtonChanged();
    void titleChanged();
    void bodyItemChanged();

private:
    void addCloseButton();
    void layout();
    void applyTitleFont();

    BeepButton *m_closeButton = nullptr;
    QQuickText *m_titleText = nullptr;
    QQuickItem *m_titleBar = nullptr;
    QQuickRectangle *m_separator = nullptr;
    QPointer<QQuickItem> m_bodyItem;
    bool m_enableCloseButton = false;
    qreal m_titleBarHeight = 0;
    QMetaObject::Connection m_bodyDestroyed;
};

} // namespace QSP
