#ifndef MIVOSECRET_H
#define MIVOSECRET_H

#include "MivoField.h"
#include "MivoHostGlobal.h"

/** @file
 * The host's convention for passwords. A field whose text is a secret is made with MivoSecretField
 * as its kind, and is a line edit in everything else:
 *
 *     MivoField(MivoSecretField, "Password", "password", QString(), 64, "Account")
 *
 * Whoever shows a form masks such a text, whoever saves one leaves it out unless asked for it, and
 * nobody logs or prints it.
 */

/** Of the kinds that the library reserves for text, the one for secrets. */
const MivoField::Type MivoSecretField = static_cast<MivoField::Type>(8);

inline bool mivoIsSecret(const MivoField& field)
{
    return field.getType() == MivoSecretField;
}

/** The @p fields that may be saved and printed, in their order. */
MIVO_HOST_EXPORT QList<MivoField> mivoWithoutSecrets(const QList<MivoField>& fields);

#endif
