#include "controls/BeepSwitch.h"

#include "shell/Palette.h"
#include "shell/QmlTypes.h"

#include <QQmlEngine>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickrectangle_p.h>

namespace QSP {

namespace {
const QColor TrackOff(Palette::Inactive);
const QColor TrackOn(Palette::Accent);
} // namespace

BeepSwitch::BeepSwitch(QQuickItem *parent)
    : BeepButton(parent)
    , m_track(new QQuickRectangle(this))
    , m_knob(new QQuickRectangle(this))
{
    m_track->setColor(TrackOff);
    setBackground(m_track);
    m_knob->setColor(Qt::white);
    QQuickItemPrivate::get(m_knob)->anchors()->setVerticalCenter(
        QQuickItemPrivate::get(this)->verticalCenter());

    connect(this, &QQuickItem::heightChanged, this, [this] { m_track->setRadius(height() * 0.5); });
    connect(this, &QQuickItem::heightChanged, this, [this] {
        const qreal t = height() / 3;
        m_knob->setHeight(2 * t);
        m_knob->setRadius(t);
        m_knob->setWidth(t * 2.64);
        updateFrontRect();
    });
    connect(this, &QQuickAbstractButton::released, this, [this] {
        if (clickFollows())
            onClickEvent();
    });
    connect(this, &BeepSwitch::onChanged, this, &BeepSwitch::onOnChanged);
    // A switch that is on keeps its knob at the right end when it is resized.
    connect(this, &QQuickItem::widthChanged, this, &BeepSwitch::updateFrontRect);
}

void BeepSwitch::setOn(bool on)
{
    if (on == m_on)
        return;
    m_on = on;
    Q_EMIT onChanged(on);
}

void BeepSwitch::onChangeEnabled(bool bEnabled)
{
    setEnabled(bEnabled);
    setOpacity(bEnabled ? 1.0 : 0.5);
}

void BeepSwitch::onOnChanged()
{
    updateFrontRect();
    m_track->setColor(m_on ? TrackOn : TrackOff);
}

void BeepSwitch::onClickEvent()
{
    setOn(!on());
}

void BeepSwitch::updateFrontRect()
{
    const qreal k = m_knob->height();
    m_knob->setX(m_on ? width() - m_knob->width() - k * 0.25 : k * 0.25);
}

void BeepSwitch::registerType()
{
    registerQmlType<BeepSwitch>("BeepSwitch");
}

} // namespace QSP
