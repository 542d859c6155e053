#pragma once

#include <QObject>

/// An empty object type, available to hang dynamic properties on.
class QmlProperty : public QObject
{
    Q_OBJECT

public:
    explicit QmlProperty(QObject *parent = nullptr);
};
