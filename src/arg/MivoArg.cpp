#include "MivoArg.h"

#include "MivoArg_p.h"
#include "MivoBuddy.h"
#include "MivoBuddyResource.h"
#include "MivoCore.h"
#include "MivoField.h"
#include "MivoPluginAction.h"
#include "MivoPresence.h"
#include "MivoService.h"
#include "MivoShared_p.h"
#include "MivoVideoClip.h"
#include "MivoXmlNode.h"

#include <array>
#include <memory>
#include <new>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace {

// The rules by which two separately made values of one kind compare.

template <class T>
bool byValue(const void* a, const void* b)
{
    return *static_cast<const T*>(a) == *static_cast<const T*>(b);
}

bool always(const void*, const void*)
{
    return true;
}

bool never(const void*, const void*)
{
    return false;
}

using Equality = bool (*)(const void*, const void*);

/** What a kind holds that holds nothing. */
struct NoValue
{
};

/** A kind: its name, its held type, its rule of equality and how deep its values can nest. */
template <class T>
struct Kind
{
    using Held = T;
    const char* name;
    Equality equal;
    bool holdsVariants;
};

template <class T>
constexpr Kind<T> leaf(const char* name, Equality equal = byValue<T>)
{
    return {name, equal, false};
}

/** A kind whose values can hold variants in turn, to any depth. */
template <class T>
constexpr Kind<T> container(const char* name, Equality equal = byValue<T>)
{
    return {name, equal, true};
}

/** The one table of kinds, in the order of MivoArg::Type. */
// clang-format off
constexpr auto kindTable = std::make_tuple(
    leaf<NoValue>("None", always),
    leaf<char>("Char"),
    leaf<unsigned char>("UChar"),
    leaf<int>("Int"),
    leaf<unsigned int>("UInt"),
    leaf<long long>("Int64"),
    leaf<unsigned long long>("UInt64"),
    leaf<float>("Float"),
    leaf<double>("Double"),
    leaf<QString>("String"),
    leaf<QStringList>("StringList"),
    leaf<bool>("Bool"),
    leaf<void*>("Pointer"),
    leaf<QList<void*>>("PointerList"),
    leaf<MivoPlugin*>("Plugin"),
    container<MivoField>("Field"),
    container<QList<MivoField>>("FieldList"),
    leaf<MivoXmlNode>("XmlNode"),
    container<MivoBuddy>("Buddy"),
    leaf<MivoBuddyResource>("BuddyResource"),
    leaf<MivoAccountConnection*>("Account"),
    container<MivoPluginAction>("PluginAction"),
    leaf<MivoPresence>("Presence"),
    leaf<MivoGuiEventsReceiver*>("GuiEventsReceiver", never),
    leaf<MivoVideoClip>("VideoClip", never),
    container<QList<MivoArg>>("ArgList", never),
    container<MivoService>("Service", never),
    container<QList<MivoService>>("ServiceList", never),
    leaf<NoValue>("Undefined", never));
// clang-format on

template <MivoArg::Type K>
using Held = typename std::tuple_element_t<K, decltype(kindTable)>::Held;

/** A row of the table for a kind that is known at run time only. */
struct KindOperations
{
    const char* name;
    Equality equal;
    bool holdsVariants;
    void (*destroy)(void* data);
};

template <class T>
void destroyValue(void* data)
{
    delete static_cast<T*>(data);
}

template <>
void destroyValue<NoValue>(void*)
{
}

template <class... T>
constexpr std::array<KindOperations, sizeof...(T)> operationsTable(const Kind<T>&... kinds)
{
    return {KindOperations{kinds.name, kinds.equal, kinds.holdsVariants, destroyValue<T>}...};
}

/** The operations of @p type; null for a number that is no kind. */
const KindOperations* operationsOf(MivoArg::Type type)
{
    static constexpr auto operations
        = std::apply([](const auto&... kinds) { return operationsTable(kinds...); }, kindTable);
    const auto number = static_cast<unsigned int>(type);
    return number < operations.size() ? &operations[number] : nullptr;
}

std::runtime_error outOfMemory()
{
    return mivo_oom(QLatin1String("MivoArg"));
}

std::runtime_error conversionError(MivoArg::Type from, MivoArg::Type to)
{
    return mivo_conversion(QLatin1String("MivoArg"), mivo_arg_type(from), mivo_arg_type(to));
}

template <MivoArg::Type K>
MivoArgPrivate* makeRecord(const Held<K>& value)
{
    std::unique_ptr<MivoArgPrivate> record(new (std::nothrow) MivoArgPrivate);
    if (!record)
        throw outOfMemory();
    record->data = new (std::nothrow) Held<K>(value);
    if (!record->data)
        throw outOfMemory();
    record->type = K;
    return record.release();
}

template <MivoArg::Type K>
Held<K> valueOf(const MivoArg& arg)
{
    const MivoArgPrivate* const record = MivoArgPrivate::get(arg);
    if (record && record->type == K)
        return *static_cast<const Held<K>*>(record->data);
    throw conversionError(arg.getType(), K);
}

/** A held value that no handle refers to any more. */
struct DeadValue
{
    const KindOperations* kind;
    void* data;

    void destroy() const { kind->destroy(data); }
};

} // namespace

MivoArgPrivate::MivoArgPrivate()
    : type(MivoArg::None)
    , ref(1)
    , data(nullptr)
{
}

MivoArgPrivate::~MivoArgPrivate()
{
    const DeadValue value = {operationsOf(type), data};
    if (!value.kind)
        return;
    if (value.kind->holdsVariants)
        mivoDestroyFlat(value); // the depth of nesting is the caller's, the stack is not
    else
        value.destroy();
}

MivoArg::MivoArg()
    : d(nullptr)
{
}

MivoArg::MivoArg(const char& value)
    : d(makeRecord<Char>(value))
{
}

MivoArg::MivoArg(const unsigned char& value)
    : d(makeRecord<UChar>(value))
{
}

MivoArg::MivoArg(const int& value)
    : d(makeRecord<Int>(value))
{
}

MivoArg::MivoArg(const unsigned int& value)
    : d(makeRecord<UInt>(value))
{
}

MivoArg::MivoArg(const long long& value)
    : d(makeRecord<Int64>(value))
{
}

MivoArg::MivoArg(const unsigned long long& value)
    : d(makeRecord<UInt64>(value))
{
}

MivoArg::MivoArg(const float& value)
    : d(makeRecord<Float>(value))
{
}

MivoArg::MivoArg(const double& value)
    : d(makeRecord<Double>(value))
{
}

MivoArg::MivoArg(const QString& value)
    : d(makeRecord<String>(value))
{
}

MivoArg::MivoArg(const QStringList& value)
    : d(makeRecord<StringList>(value))
{
}

MivoArg::MivoArg(const bool& value)
    : d(makeRecord<Bool>(value))
{
}

MivoArg::MivoArg(void* value)
    : d(makeRecord<Pointer>(value))
{
}

MivoArg::MivoArg(const QList<void*>& value)
    : d(makeRecord<PointerList>(value))
{
}

MivoArg::MivoArg(MivoPlugin* value)
    : d(makeRecord<Plugin>(value))
{
}

MivoArg::MivoArg(const MivoField& value)
    : d(makeRecord<Field>(value))
{
}

MivoArg::MivoArg(const QList<MivoField>& value)
    : d(makeRecord<FieldList>(value))
{
}

MivoArg::MivoArg(const MivoXmlNode& value)
    : d(makeRecord<XmlNode>(value))
{
}

MivoArg::MivoArg(const MivoBuddy& value)
    : d(makeRecord<Buddy>(value))
{
}

MivoArg::MivoArg(const MivoBuddyResource& value)
    : d(makeRecord<BuddyResource>(value))
{
}

MivoArg::MivoArg(MivoAccountConnection* value)
    : d(makeRecord<Account>(value))
{
}

MivoArg::MivoArg(const MivoPluginAction& value)
    : d(makeRecord<PluginAction>(value))
{
}

MivoArg::MivoArg(const MivoPresence& value)
    : d(makeRecord<Presence>(value))
{
}

MivoArg::MivoArg(MivoGuiEventsReceiver* value)
    : d(makeRecord<GuiEventsReceiver>(value))
{
}

MivoArg::MivoArg(const MivoVideoClip& value)
    : d(makeRecord<VideoClip>(value))
{
}

MivoArg::MivoArg(const QList<MivoArg>& value)
    : d(makeRecord<ArgList>(value))
{
}

MivoArg::MivoArg(const MivoService& value)
    : d(makeRecord<Service>(value))
{
}

MivoArg::MivoArg(const QList<MivoService>& value)
    : d(makeRecord<ServiceList>(value))
{
}

MivoArg::MivoArg(const MivoArg& other)
    : d(other.d)
{
    tAtomicAttach(d);
}

MivoArg::MivoArg(MivoArg&& other) noexcept
    : d(std::exchange(other.d, nullptr))
{
}

MivoArg::~MivoArg()
{
    tAtomicDetach(d);
}

MivoArg MivoArg::operator=(const MivoArg& other) // NOLINT(misc-unconventional-assign-operator)
{
    if (d && other.getType() != getType())
        throw conversionError(other.getType(), getType());
    if (d != other.d) {
        // Attached first: other may live inside the value that is released.
        MivoArgPrivate* const released = d;
        d = other.d;
        tAtomicAttach(d);
        tAtomicDetach(released);
    }
    return *this;
}

bool MivoArg::operator==(const MivoArg& other) const
{
    if (d == other.d)
        return true;
    if (!d || !other.d)
        return getType() == other.getType(); // a record of kind None, and no record
    if (d->type != other.d->type)
        return false;
    const KindOperations* const kind = operationsOf(d->type);
    return kind && kind->equal(d->data, other.d->data);
}

bool MivoArg::operator!=(const MivoArg& other) const
{
    return !(*this == other);
}

MivoArg::Type MivoArg::getType() const
{
    return d ? d->type : None;
}

QString MivoArg::getTypeName() const
{
    return d ? mivo_arg_type(d->type) : QString();
}

char MivoArg::toChar() const
{
    return valueOf<Char>(*this);
}

unsigned char MivoArg::toUChar() const
{
    return valueOf<UChar>(*this);
}

int MivoArg::toInt() const
{
    return valueOf<Int>(*this);
}

unsigned int MivoArg::toUInt() const
{
    return valueOf<UInt>(*this);
}

long long MivoArg::toInt64() const
{
    return valueOf<Int64>(*this);
}

unsigned long long MivoArg::toUInt64() const
{
    return valueOf<UInt64>(*this);
}

float MivoArg::toFloat() const
{
    return valueOf<Float>(*this);
}

double MivoArg::toDouble() const
{
    return valueOf<Double>(*this);
}

QString MivoArg::toString() const
{
    return valueOf<String>(*this);
}

QStringList MivoArg::toStringList() const
{
    return valueOf<StringList>(*this);
}

bool MivoArg::toBool() const
{
    return valueOf<Bool>(*this);
}

void* MivoArg::toPointer() const
{
    return valueOf<Pointer>(*this);
}

QList<void*> MivoArg::toPointerList() const
{
    return valueOf<PointerList>(*this);
}

MivoPlugin* MivoArg::toPlugin() const
{
    return valueOf<Plugin>(*this);
}

MivoField MivoArg::toField() const
{
    return valueOf<Field>(*this);
}

QList<MivoField> MivoArg::toFieldList() const
{
    return valueOf<FieldList>(*this);
}

MivoXmlNode MivoArg::toXmlNode() const
{
    return valueOf<XmlNode>(*this);
}

MivoBuddy MivoArg::toBuddy() const
{
    return valueOf<Buddy>(*this);
}

MivoBuddyResource MivoArg::toBuddyResource() const
{
    return valueOf<BuddyResource>(*this);
}

MivoAccountConnection* MivoArg::toAccount() const
{
    return valueOf<Account>(*this);
}

MivoPluginAction MivoArg::toPluginAction() const
{
    return valueOf<PluginAction>(*this);
}

MivoPresence MivoArg::toPresence() const
{
    return valueOf<Presence>(*this);
}

MivoGuiEventsReceiver* MivoArg::toGuiEventsReceiver() const
{
    return valueOf<GuiEventsReceiver>(*this);
}

MivoVideoClip MivoArg::toVideoClip() const
{
    return valueOf<VideoClip>(*this);
}

QList<MivoArg> MivoArg::toArgList() const
{
    return valueOf<ArgList>(*this);
}

MivoService MivoArg::toService() const
{
    return valueOf<Service>(*this);
}

QList<MivoService> MivoArg::toServiceList() const
{
    return valueOf<ServiceList>(*this);
}

QString mivo_arg_type(MivoArg::Type type)
{
    const KindOperations* const kind = operationsOf(type);
    return QString(QLatin1String("MivoArg::")) + QLatin1String(kind ? kind->name : "Unknown");
}
