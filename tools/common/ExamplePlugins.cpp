#include "ExamplePlugins.h"

#include "Failure.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QString examplePlugin(const QString& name)
{
    const QDir folder(QCoreApplication::applicationDirPath());
    for (const char* candidate : {MIVO_BUILT_PLUGINS, MIVO_INSTALLED_PLUGINS}) {
        const QString file
            = QDir::cleanPath(folder.absoluteFilePath(QString("%1/%2.so").arg(candidate, name)));
        if (QFileInfo::exists(file))
            return file;
    }
    throw Failure(QString("found no example plug-in %1.so beside %2")
                      .arg(name, QCoreApplication::applicationName()));
}
