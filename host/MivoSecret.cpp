#include "MivoSecret.h"

QList<MivoField> mivoWithoutSecrets(const QList<MivoField>& fields)
{
    QList<MivoField> open;
    for (int i = 0; i < int(fields.size()); ++i) {
        if (!mivoIsSecret(fields.at(i)))
            open.append(fields.at(i));
    }
    return open;
}
