#include "shell/BaseCard.h"

namespace QSP {

BaseCard::BaseCard(QQuickItem *parent)
    : QQuickRectangle(parent)
{
    setColor(Qt::white);
    setHeight(80);
    setRadius(10);
}

} // namespace QSP
