#pragma once

#include <QObject>

class QQuickItem;

namespace QSP {

/// Ends the editing of a text field: Escape, Return, Enter and the keyboard's confirm key (0x100000) take
/// the focus from the watched item and are consumed.
class KeyPressFilter : public QObject
{
    Q_OBJECT

public:
    explicit KeyPressFilter(QQuickItem *item);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QQuickItem *m_item = nullptr; ///< not owned
};

} // namespace QSP
