#include "QmlProperty.h"

QmlProperty::QmlProperty(QObject *parent)
    : QObject(parent)
{}
