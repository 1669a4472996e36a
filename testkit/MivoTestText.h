#ifndef MIVOTESTTEXT_H
#define MIVOTESTTEXT_H

#include "MivoArg.h"
#include "MivoBuddyContact.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyMerged.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyTemporary.h"
#include "MivoBuddyType.h"
#include "MivoField.h"
#include "MivoPluginAction.h"
#include "MivoPresence.h"
#include "MivoService.h"
#include "MivoSubscriptionType.h"
#include "MivoTestGlobal.h"
#include "MivoVideoClip.h"
#include "MivoXmlNode.h"

#include <QtTest>

/** @file
 * Values in QtTest: whatever QCOMPARE() compares is printed on both sides, each value on one line,
 * with its kind and all that it holds. The text of a secret (MivoSecret.h) is not printed.
 *
 * Variants, fields and lists of them are compared by all that they hold, while their own operator==
 * leaves much out on purpose: lists in variants, services and video clips are looked into; of fields
 * the group, the flags and the limits count, and labels, buttons and images can be equal, too.
 * Numbers are equal when they are the same to the bit, or both NaN. Entries of the contact list,
 * accounts, plug-ins and pointers are equal when they are the same, actions when their operator==
 * says so, XML elements when they are written the same.
 */

/**
 * Values in a list, as calls take and answer them: mivoValues(1, "two", 3.0). A literal is a
 * String.
 */
template <class... Values>
QList<MivoArg> mivoValues(const Values&... values);

/** Whether both hold the same, as QCOMPARE() sees it. */
MIVO_TEST_EXPORT bool mivoHoldTheSame(const MivoArg& a, const MivoArg& b);
MIVO_TEST_EXPORT bool mivoHoldTheSame(const MivoField& a, const MivoField& b);

/** What QtTest prints. */
MIVO_TEST_EXPORT QString mivoTestText(const MivoArg& value);
MIVO_TEST_EXPORT QString mivoTestText(const QList<MivoArg>& values);
MIVO_TEST_EXPORT QString mivoTestText(MivoArg::Type kind);
MIVO_TEST_EXPORT QString mivoTestText(const MivoField& field);
MIVO_TEST_EXPORT QString mivoTestText(const QList<MivoField>& fields);
MIVO_TEST_EXPORT QString mivoTestText(MivoField::Type kind);
MIVO_TEST_EXPORT QString mivoTestText(const MivoPluginAction& action);
MIVO_TEST_EXPORT QString mivoTestText(const MivoService& service);
MIVO_TEST_EXPORT QString mivoTestText(const QList<MivoService>& services);
MIVO_TEST_EXPORT QString mivoTestText(const MivoPresence& presence);
MIVO_TEST_EXPORT QString mivoTestText(const MivoSubscriptionType& subscription);
MIVO_TEST_EXPORT QString mivoTestText(const MivoBuddyResource& resource);
MIVO_TEST_EXPORT QString mivoTestText(const MivoBuddyType& type);
MIVO_TEST_EXPORT QString mivoTestText(const MivoBuddy& buddy);
MIVO_TEST_EXPORT QString mivoTestText(MivoBuddy::Type kind);
MIVO_TEST_EXPORT QString mivoTestText(const MivoXmlNode& node);
MIVO_TEST_EXPORT QString mivoTestText(const MivoVideoClip& clip);

/** For QCOMPARE(), by what mivoHoldTheSame() says: reports the first difference. */
MIVO_TEST_EXPORT bool mivoCompare(const MivoArg& found, const MivoArg& expected,
                                  const char* foundName, const char* expectedName, const char* file,
                                  int line);
MIVO_TEST_EXPORT bool mivoCompare(const QList<MivoArg>& found, const QList<MivoArg>& expected,
                                  const char* foundName, const char* expectedName, const char* file,
                                  int line);
MIVO_TEST_EXPORT bool mivoCompare(const MivoField& found, const MivoField& expected,
                                  const char* foundName, const char* expectedName, const char* file,
                                  int line);
MIVO_TEST_EXPORT bool mivoCompare(const QList<MivoField>& found, const QList<MivoField>& expected,
                                  const char* foundName, const char* expectedName, const char* file,
                                  int line);

/** One value of mivoValues(). */
inline MivoArg mivoValue(const MivoArg& value)
{
    return value;
}
inline MivoArg mivoValue(const char* text)
{
    return MivoArg(QString::fromUtf8(text));
}

template <class... Values>
QList<MivoArg> mivoValues(const Values&... values)
{
    QList<MivoArg> list;
    static_cast<void>((list << ... << mivoValue(values)));
    return list;
}

// For QTest::addColumn().
Q_DECLARE_METATYPE(MivoArg)
Q_DECLARE_METATYPE(MivoField)
Q_DECLARE_METATYPE(MivoService)

namespace QTest {

// What QtTest looks for, for each of the types.
#define MIVO_TEST_STRING(Type)                                                                     \
    template <>                                                                                    \
    inline char* toString(const Type& value)                                                       \
    {                                                                                              \
        return qstrdup(mivoTestText(value).toUtf8().constData());                                  \
    }
MIVO_TEST_STRING(MivoArg)
MIVO_TEST_STRING(QList<MivoArg>)
MIVO_TEST_STRING(MivoArg::Type)
MIVO_TEST_STRING(MivoField)
MIVO_TEST_STRING(QList<MivoField>)
MIVO_TEST_STRING(MivoField::Type)
MIVO_TEST_STRING(MivoPluginAction)
MIVO_TEST_STRING(MivoService)
MIVO_TEST_STRING(QList<MivoService>)
MIVO_TEST_STRING(MivoPresence)
MIVO_TEST_STRING(MivoSubscriptionType)
MIVO_TEST_STRING(MivoBuddyResource)
MIVO_TEST_STRING(MivoBuddyType)
MIVO_TEST_STRING(MivoBuddy)
MIVO_TEST_STRING(MivoBuddyGroup)
MIVO_TEST_STRING(MivoBuddyMeta)
MIVO_TEST_STRING(MivoBuddyContact)
MIVO_TEST_STRING(MivoBuddyMerged)
MIVO_TEST_STRING(MivoBuddyTemporary)
MIVO_TEST_STRING(MivoBuddy::Type)
MIVO_TEST_STRING(MivoXmlNode)
MIVO_TEST_STRING(MivoVideoClip)
#undef MIVO_TEST_STRING

inline bool qCompare(const MivoArg& found, const MivoArg& expected, const char* foundName,
                     const char* expectedName, const char* file, int line)
{
    return mivoCompare(found, expected, foundName, expectedName, file, line);
}
inline bool qCompare(const QList<MivoArg>& found, const QList<MivoArg>& expected,
                     const char* foundName, const char* expectedName, const char* file, int line)
{
    return mivoCompare(found, expected, foundName, expectedName, file, line);
}
inline bool qCompare(const MivoField& found, const MivoField& expected, const char* foundName,
                     const char* expectedName, const char* file, int line)
{
    return mivoCompare(found, expected, foundName, expectedName, file, line);
}
inline bool qCompare(const QList<MivoField>& found, const QList<MivoField>& expected,
                     const char* foundName, const char* expectedName, const char* file, int line)
{
    return mivoCompare(found, expected, foundName, expectedName, file, line);
}

} // namespace QTest

#endif
