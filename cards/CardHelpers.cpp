#include "cards/CardHelpers.h"

#include "controls/CIpInput.h"
#include "shell/GlobalInfo.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

int sideCardRowHeight()
{
    const GlobalInfo &info = GlobalInfo::instance();
    const int screenWidth = info.screenSize().width();
    if (info.isScreenPortrait())
        return screenWidth < 600 ? 41 : 52;
    return int(screenWidth * 0.051041666666666666);
}

void bindTranslatedText(QQuickText *text, const char *context, const char *source)
{
    if (text)
        setMultilingualText(text, [context, source] { return QCoreApplication::translate(context, source); });
}

QString dotted(HMI::IP ip)
{
    return QHostAddress(quint32(ip)).toString();
}

void showAddress(CIpInput *input, HMI::IP ip)
{
    if (input && !input->editing())
        input->setIp(dotted(ip));
}

QQuickAnchors *anchorsOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->anchors();
}

QQuickAnchorLine leftOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->left();
}

QQuickAnchorLine rightOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->right();
}

QQuickAnchorLine verticalCenterOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->verticalCenter();
}

void anchorRight(QQuickItem *item, QQuickItem *row, qreal margin)
{
    QQuickAnchors *anchors = anchorsOf(item);
    anchors->setRight(rightOf(row));
    anchors->setRightMargin(margin);
    anchors->setVerticalCenter(verticalCenterOf(row));
}

void centreVertically(QQuickItem *item, QQuickItem *in)
{
    anchorsOf(item)->setVerticalCenter(verticalCenterOf(in));
}

QQuickText *newPlainText(QQuickItem *parent)
{
    auto *text = new QQuickText(parent);
    text->setTextFormat(QQuickText::PlainText);
    return text;
}

void setPixelSize(QQuickText *text, int pixelSize)
{
    QFont font = text->font();
    font.setPixelSize(pixelSize);
    text->setFont(font);
}

} // namespace QSP
