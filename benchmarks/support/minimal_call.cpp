// The least program that loads a plug-in, calls its slot echo with one value and prints the answer.

#include "MivoPlugin.h"

#include <QCoreApplication>
#include <QDebug>
#include <QPluginLoader>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QPluginLoader loader(QCoreApplication::arguments().value(1));
    auto* const plugin = qobject_cast<MivoPlugin*>(loader.instance());
    if (!plugin)
        return 1;
    QList<MivoArg> arguments = QList<MivoArg>() << MivoArg(QString("echo")) << MivoArg(42);
    plugin->callByName(nullptr, arguments);
    qDebug() << arguments;
    return 0;
}
