#ifndef MIVOPLUGINSLOTS_P_H
#define MIVOPLUGINSLOTS_P_H

#include <QStringList>

struct QMetaObject;

/**
 * The slots of one shape that a class of plug-ins has. It asks the class alone and touches no
 * object, so that it may be used in any thread.
 */
class MivoPluginSlots
{
public:
    enum Shape { Call, Action };

    MivoPluginSlots(const QMetaObject* metaObject, Shape shape);

    /** Whether the class leaves it to each of its objects which slots there are. */
    bool areByName() const;
    /** In order of declaration, each name once. */
    QStringList names() const;
    /** The index that QObject::qt_metacall() takes; -1 when there is no such slot. */
    int indexOf(const QString& name) const;
    /** One sentence on why @p plugin has no slot @p name: what nearly fits, and what there is. */
    QString whyMissing(const QString& plugin, const QString& name) const;

private:
    QString nearMiss(const QString& name) const;

    const QMetaObject* metaObject;
    Shape shape;
};

#endif
