#pragma once

#include <QtQuick/private/qquickrectangle_p.h>

namespace QSP {

/// Base of every settings card: a white rounded rectangle that the card's QML document sizes and fills.
class BaseCard : public QQuickRectangle
{
    Q_OBJECT

public:
    explicit BaseCard(QQuickItem *parent = nullptr);
};

} // namespace QSP
