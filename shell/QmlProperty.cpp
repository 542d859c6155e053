#include "shell/QmlProperty.h"

QmlProperty::QmlProperty(QObject *parent)
    : QObject(parent)
{}
