#ifndef MIVOARG_H
#define MIVOARG_H

#include "MivoGlobal.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <type_traits>
#include <utility>

class MivoAccountConnection;
class MivoArgPrivate;
class MivoBuddy;
class MivoBuddyResource;
class MivoField;
class MivoGuiEventsReceiver;
class MivoPlugin;
class MivoPluginAction;
class MivoPresence;
class MivoService;
class MivoXmlNode;
class QDebug;
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wmismatched-tags" // the host may make it a class
#endif
struct MivoVideoClip;
#ifdef __clang__
#pragma clang diagnostic pop
#endif

/**
 * The tagged variant in which every argument and result of a call between plug-ins travels.
 *
 * A value has one of 29 kinds for life and is read by the accessor of exactly that kind: nothing is
 * widened, narrowed, parsed or formatted. Copies share one immutable record; copying costs one
 * atomic increment, and the value is freed with the last copy. Copies may be read, copied and
 * destroyed in different threads at once; one MivoArg object that is assigned in one thread must
 * not be used in another at the same time. The pointer kinds keep the address alone: what they
 * point to is never copied, owned or freed.
 *
 * Every constructor that makes a value throws the std::runtime_error of mivo_oom() when an
 * allocation fails. Every accessor throws that of mivo_conversion() when the value is of another
 * kind, and leaves the value as it is.
 *
 * A value keeps its kind when it is assigned to, and whatever assigns elements throws across kinds,
 * half done. A list of mixed kinds can be appended to, inserted into, erased from and moved in on
 * every Qt. Not so, with the way to write it instead:
 * - removeAll() and removeIf() on Qt 6 (on 5 and 4.8 removeAll() is safe), and std::remove_if(),
 *   std::sort() and their like everywhere: removeAt() from the end, or a new list;
 * - `list[i] = value` and replace(): removeAt() and insert();
 * - insert() of a key that a QHash or QMap has: remove() first;
 * - `std::swap(a, b)` by its full name, which is three assignments and loses a value when it
 *   throws, and qSwap() on Qt 4.8: `swap(a, b)`.
 */
class MIVO_DATA_EXPORT MivoArg
{
public:
    /** The kinds. Any 32-bit number can be stored; one that is no kind has the name "Unknown". */
    enum Type : int {
        None = 0,
        Char = 1,
        UChar = 2,
        Int = 3,
        UInt = 4,
        Int64 = 5,
        UInt64 = 6,
        Float = 7,
        Double = 8,
        String = 9,
        StringList = 10,
        Bool = 11,
        Pointer = 12,
        PointerList = 13,
        Plugin = 14,
        Field = 15,
        FieldList = 16,
        XmlNode = 17,
        Buddy = 18,
        BuddyResource = 19,
        Account = 20,
        PluginAction = 21,
        Presence = 22,
        GuiEventsReceiver = 23,
        VideoClip = 24,
        ArgList = 25,
        Service = 26,
        ServiceList = 27,
        Undefined = 28 ///< made by no constructor
    };

    /** The empty value, of kind None. */
    MivoArg();
    // The conversions are implicit on purpose: a plug-in writes its arguments as they are.
    MivoArg(const char& value);
    MivoArg(const unsigned char& value);
    MivoArg(const int& value);
    MivoArg(const unsigned int& value);
    MivoArg(const long long& value);
    MivoArg(const unsigned long long& value);
    MivoArg(const float& value);
    MivoArg(const double& value);
    MivoArg(const QString& value);
    MivoArg(const QStringList& value);
    MivoArg(const bool& value);
    MivoArg(void* value);
    MivoArg(const QList<void*>& value);
    MivoArg(MivoPlugin* value);
    MivoArg(const MivoField& value);
    MivoArg(const QList<MivoField>& value);
    MivoArg(const MivoXmlNode& value);
    MivoArg(const MivoBuddy& value);
    MivoArg(const MivoBuddyResource& value);
    MivoArg(MivoAccountConnection* value);
    MivoArg(const MivoPluginAction& value);
    MivoArg(const MivoPresence& value);
    MivoArg(MivoGuiEventsReceiver* value);
    MivoArg(const MivoVideoClip& value);
    MivoArg(const QList<MivoArg>& value);
    MivoArg(const MivoService& value);
    MivoArg(const QList<MivoService>& value);
    // Not kinds: string literals and other pointers to const, functions, lambdas and pointers to
    // members, all of which would otherwise become a Bool. Compilers show the name and the line.
    typedef const void* TextIsWrittenAsQString;
    MivoArg(TextIsWrittenAsQString) = delete; // write QString("text"), not "text"
    MivoArg(const volatile void*) = delete;
    template <class Result, class... Parameters>
    MivoArg(Result (*)(Parameters...)) = delete;
    template <class Result, class... Parameters>
    MivoArg(Result (*)(Parameters..., ...)) = delete;
    template <class Callable,
              class Function = std::remove_pointer_t<decltype(+std::declval<const Callable&>())>,
              std::enable_if_t<std::is_function<Function>::value, int> = 0>
    MivoArg(const Callable&) = delete;
    template <class Class, class Member>
    MivoArg(Member Class::*) = delete;

    MivoArg(const MivoArg& other);
    /** Takes @p other's record, which leaves @p other empty. */
    MivoArg(MivoArg&& other) noexcept;
    ~MivoArg();

    /**
     * Shares @p other's record. An empty value takes any kind; a value that has a kind takes that
     * kind only, and throws the conversion error from @p other's kind to its own otherwise, also
     * when @p other is empty. Returns a copy, on purpose not a reference.
     */
    MivoArg operator=(const MivoArg& other); // NOLINT(misc-unconventional-assign-operator)

    /**
     * Whether both are copies of one value, or of one kind with equal contents. NaN equals only its
     * own copies. Two separately made values of the kinds GuiEventsReceiver, VideoClip, ArgList,
     * Service and ServiceList are never equal. Never throws.
     */
    bool operator==(const MivoArg& other) const;
    bool operator!=(const MivoArg& other) const;

    Type getType() const;
    /** The name of the kind as mivo_arg_type() gives it, but a null string for the empty value. */
    QString getTypeName() const;

    char toChar() const;
    unsigned char toUChar() const;
    int toInt() const;
    unsigned int toUInt() const;
    long long toInt64() const;
    unsigned long long toUInt64() const;
    float toFloat() const;
    double toDouble() const;
    QString toString() const;
    QStringList toStringList() const;
    bool toBool() const;
    void* toPointer() const;
    QList<void*> toPointerList() const;
    MivoPlugin* toPlugin() const;
    MivoField toField() const;
    QList<MivoField> toFieldList() const;
    MivoXmlNode toXmlNode() const;
    MivoBuddy toBuddy() const;
    MivoBuddyResource toBuddyResource() const;
    MivoAccountConnection* toAccount() const;
    MivoPluginAction toPluginAction() const;
    MivoPresence toPresence() const;
    MivoGuiEventsReceiver* toGuiEventsReceiver() const;
    MivoVideoClip toVideoClip() const;
    QList<MivoArg> toArgList() const;
    MivoService toService() const;
    QList<MivoService> toServiceList() const;

    /**
     * Writes @p value into @p field and returns whether the field changed. The kind must be exactly
     * that of MivoField::getValue(), or String for a Label, whose label is set; it throws the
     * conversion error and leaves the field as it is otherwise. A field that has no such value is
     * left alone.
     */
    static bool setFieldValue(MivoField& field, const MivoArg& value);

    /** Exchanges the records, whatever the kinds: unlike three assignments, this never throws. */
    friend void swap(MivoArg& a, MivoArg& b) noexcept
    {
        MivoArgPrivate* const record = a.d;
        a.d = b.d;
        b.d = record;
    }

private:
    friend class MivoArgPrivate;
    MivoArgPrivate* d;
};

Q_DECLARE_TYPEINFO(MivoArg, Q_MOVABLE_TYPE);

/** "MivoArg::" and the name of the kind; "MivoArg::Unknown" for a number that is no kind. */
MIVO_DATA_EXPORT QString mivo_arg_type(MivoArg::Type type);

/** Prints "MivoArg::" and the name; nothing but the former for VideoClip, ServiceList and no kind.
 */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, MivoArg::Type type);
/**
 * Prints "MivoArg(KIND: VALUE)"; the stream is in space mode afterwards.
 *
 * A BuddyResource, which has no printer of its own, must not be printed, nor a list that holds one:
 * its print contains itself, and ends only with the stack. The print of lists in lists takes stack
 * for each level: hundreds are harmless, tens of thousands are not.
 */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoArg& arg);

#endif
