#ifndef JSONTEXT_H
#define JSONTEXT_H

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

class MivoArg;
class MivoField;
class MivoHost;
class MivoService;

/**
 * Values in JSON, as docs/json.md describes it. What JSON numbers cannot carry in every program is a
 * string: numbers of 64 bits, those that are not finite, and bytes in base 64.
 */
namespace JsonText {

/**
 * One value. Of plug-ins, entries and the like, which are the same only as long as the process
 * lives, a description stands under the key "identity"; a plug-in of @p host has its name there.
 */
QJsonObject valueOf(const MivoArg& value, const MivoHost& host);
QJsonObject fieldOf(const MivoField& field);
QJsonObject serviceOf(const MivoService& service);

/**
 * On one line of ASCII. Every QString comes back from it as it was, be it no text in UTF-16: half
 * surrogates are written as \u and four digits.
 */
QString textOf(const QJsonValue& value);

} // namespace JsonText

#endif
