#pragma once

#include "shell/Palette.h"

#include <QColor>
#include <QObject>

namespace QSP {

/// The shared colours of Palette.h as the QML singleton "Palette" of the module "QQuickSystemSet" 1.0:
/// `color: Palette.mutedText`. Each engine gets an instance of its own, which it owns.
class QmlPalette : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QColor accent READ accent CONSTANT)
    Q_PROPERTY(QColor focus READ focus CONSTANT)
    Q_PROPERTY(QColor border READ border CONSTANT)
    Q_PROPERTY(QColor text READ text CONSTANT)
    Q_PROPERTY(QColor mutedText READ mutedText CONSTANT)
    Q_PROPERTY(QColor error READ error CONSTANT)
    Q_PROPERTY(QColor good READ good CONSTANT)
    Q_PROPERTY(QColor background READ background CONSTANT)
    Q_PROPERTY(QColor highlight READ highlight CONSTANT)
    Q_PROPERTY(QColor inactive READ inactive CONSTANT)
    Q_PROPERTY(QColor fieldBorder READ fieldBorder CONSTANT)

public:
    explicit QmlPalette(QObject *parent = nullptr);

    QColor accent() const { return QColor::fromRgba(Palette::Accent); }
    QColor focus() const { return QColor::fromRgba(Palette::Focus); }
    QColor border() const { return QColor::fromRgba(Palette::Border); }
    QColor text() const { return QColor::fromRgba(Palette::Text); }
    QColor mutedText() const { return QColor::fromRgba(Palette::MutedText); }
    QColor error() const { return QColor::fromRgba(Palette::Error); }
    QColor good() const { return QColor::fromRgba(Palette::Good); }
    QColor background() const { return QColor::fromRgba(Palette::Background); }
    QColor highlight() const { return QColor::fromRgba(Palette::Highlight); }
    QColor inactive() const { return QColor::fromRgba(Palette::Inactive); }
    QColor fieldBorder() const { return QColor::fromRgba(Palette::FieldBorder); }

    /// Registers the singleton; later calls do nothing. Every registration of a type of the module runs it
    /// first (registerQmlType()), so that each document that imports the module finds the palette.
    static void registerType();
};

} // namespace QSP
