// The least that a window of this toolkit costs: one button of its own controls. What the application's window is
// measured against.

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>

#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nimport QtQuick.Controls.Basic\n"
                      "Window { width: 1080; height: 780; visible: true; Button { text: \"Button\" } }",
                      QUrl(u"qrc:/BareWindow.qml"_s));
    const std::unique_ptr<QObject> window(component.create());
    if (!window) {
        std::fputs(qPrintable(component.errorString()), stderr);
        return 1;
    }
    return QGuiApplication::exec();
}
