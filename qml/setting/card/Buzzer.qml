// Not built yet: loading this card fails with a clear message and the page goes without it.
import QtQuick 2.15

CardNotBuiltYet {
}
