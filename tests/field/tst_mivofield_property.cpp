#include "MivoField.h"
#include "MivoField_p.h"
#include "MivoPluginAction.h"
#include "MivoQt_p.h"
#include "MivoXmlNode.h"
#include "PropertyGenerators.h"

#include <QtTest>

#include <array>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

namespace {

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool sameNumber(double a, double b)
{
    return sameBits(a, b) || (qIsNaN(a) && qIsNaN(b));
}

/** The slots of a record as bytes, in the order of declaration. */
using Slot = std::array<unsigned char, sizeof(double)>;
enum SlotName { First, Second, Value };

/** What the rule of the setters says about one record, without sharing of any kind. */
struct Model
{
    std::array<Slot, 3> slots_ = {};
    QString label = "label";
    QString text;
    QStringList items;
    bool visible = true;
    bool readOnly = false;
    bool pressed = false;
    QByteArray image;

    template <class T>
    T read(SlotName name) const
    {
        if constexpr (std::is_same_v<T, bool>) {
            return slots_[name][0] != 0;
        } else {
            T value;
            std::memcpy(&value, slots_[name].data(), sizeof value);
            return value;
        }
    }

    template <class T>
    void write(SlotName name, T value)
    {
        std::memcpy(slots_[name].data(), &value, sizeof value);
    }
};

using ModelHandle = std::shared_ptr<Model>;

/** The record to write to: the handle's own, or a copy that becomes its own. */
Model& owned(ModelHandle& handle)
{
    if (handle.use_count() > 1)
        handle = std::make_shared<Model>(*handle);
    return *handle;
}

template <class T>
bool setSlot(ModelHandle& handle, SlotName name, T value)
{
    if (handle->read<T>(name) == value)
        return false;
    owned(handle).write(name, value);
    return true;
}

template <class T>
void setMember(ModelHandle& handle, T Model::*member, const T& value)
{
    if (!((*handle).*member == value))
        owned(handle).*member = value;
}

template <class T>
void setMinimum(ModelHandle& handle, T minimum)
{
    if (setSlot(handle, Second, minimum) && handle->read<T>(Value) < minimum)
        handle->write(Value, minimum);
}

template <class T>
void setMaximum(ModelHandle& handle, T maximum)
{
    if (setSlot(handle, First, maximum) && handle->read<T>(Value) > maximum)
        handle->write(Value, maximum);
}

/** What is done, to which handle, with which other handle or value. */
using Step = std::tuple<int, int, int>;

const int operationCount = 19;
const std::array<int, 8> ints = {0, 1, 2, -1, 255, 256, INT_MAX, INT_MIN};
const std::array<double, 10> doubles
    = {0.0, -0.0, 1.0, -1.5, 5e-324, 1e300, qInf(), -qInf(), qQNaN(), 2.5};

template <class T, std::size_t N>
T pick(const std::array<T, N>& values, int index)
{
    return values[std::size_t(index) % N];
}

struct Pair
{
    MivoField field;
    ModelHandle model;
};

void perform(std::vector<Pair>& pairs, const Step& step)
{
    const int argument = std::get<2>(step);
    Pair& pair = pairs[std::size_t(std::get<1>(step)) % pairs.size()];
    const Pair& other = pairs[std::size_t(argument) % pairs.size()];
    MivoField& field = pair.field;
    ModelHandle& model = pair.model;
    const int number = pick(ints, argument);
    const double real = pick(doubles, argument);
    const bool on = argument % 2 == 1;
    const QString text = QString::number(argument % 3);
    switch (std::get<0>(step)) {
    case 0:
        pairs.push_back(Pair(pair));
        break;
    case 1:
        if (pairs.size() > 1)
            pairs.erase(pairs.begin() + (&pair - pairs.data()));
        break;
    case 2:
        field = other.field;
        model = other.model;
        break;
    case 3:
        field.setLabel(text);
        setMember(model, &Model::label, text);
        break;
    case 4:
        field.setText(text);
        setMember(model, &Model::text, text);
        break;
    case 5:
        field.setMaxTextLength(number);
        setSlot(model, First, number);
        break;
    case 6:
        field.setIntValue(number);
        setSlot(model, Value, number);
        break;
    case 7:
        field.setSpinBoxMin(number);
        setMinimum(model, number);
        break;
    case 8:
        field.setSpinBoxMax(number);
        setMaximum(model, number);
        break;
    case 9:
        field.setDoubleSpinBoxMin(real);
        setMinimum(model, real);
        break;
    case 10:
        field.setDoubleSpinBoxMax(real);
        setMaximum(model, real);
        break;
    case 11:
        field.setDoubleValue(real);
        setSlot(model, Value, real);
        break;
    case 12:
        field.setChecked(on);
        setSlot(model, Value, on);
        break;
    case 13:
        field.setComboBoxItems(QStringList() << text);
        setMember(model, &Model::items, QStringList() << text);
        break;
    case 14:
        field.setSelectedIndex(unsigned(number));
        setSlot(model, First, unsigned(number));
        break;
    case 15:
        field.setVisible(on);
        model->visible = on;
        break;
    case 16:
        field.setReadOnly(on);
        model->readOnly = on;
        break;
    case 17:
        field.setPressed(on);
        model->pressed = on;
        break;
    case 18:
        field.getImgData() = text.toLatin1();
        model->image = text.toLatin1();
        break;
    default:
        break;
    }
}

void compare(Pair& pair)
{
    MivoField& field = pair.field;
    const Model& model = *pair.model;
    RC_ASSERT(field.getLabel() == model.label);
    RC_ASSERT(field.getText() == model.text);
    RC_ASSERT(field.getComboBoxItems() == model.items);
    RC_ASSERT(field.getMaxTextLength() == model.read<int>(First));
    RC_ASSERT(field.getSpinBoxMax() == model.read<int>(First));
    RC_ASSERT(field.getSelectedIndex() == model.read<unsigned>(First));
    RC_ASSERT(sameBits(field.getDoubleSpinBoxMax(), model.read<double>(First)));
    RC_ASSERT(field.getSpinBoxMin() == model.read<int>(Second));
    RC_ASSERT(sameBits(field.getDoubleSpinBoxMin(), model.read<double>(Second)));
    RC_ASSERT(field.getIntValue() == model.read<int>(Value));
    RC_ASSERT(field.isChecked() == model.read<bool>(Value));
    RC_ASSERT(sameBits(field.getDoubleValue(), model.read<double>(Value)));
    RC_ASSERT(field.getVisible() == model.visible);
    RC_ASSERT(field.isReadOnly() == model.readOnly);
    RC_ASSERT(field.isPressed() == model.pressed);
    RC_ASSERT(field.getImgData() == model.image);
}

/** Fails unless exactly those fields share a record whose models do, and no other handle does. */
void compareSharing(const std::vector<Pair>& pairs)
{
    for (const Pair& a : pairs) {
        RC_ASSERT(long(mivoLoadAcquire(MivoFieldPrivate::get(a.field)->ref))
                  == a.model.use_count());
        for (const Pair& b : pairs)
            RC_ASSERT((MivoFieldPrivate::get(a.field) == MivoFieldPrivate::get(b.field))
                      == (a.model == b.model));
    }
}

/** A field of kind @p type with any values, and one of the same kind and id with others. */
std::pair<MivoField, MivoField> anyField(int number, const QString& id)
{
    const auto type = MivoField::Type(number);
    const QString text = *gen::xmlText();
    switch (number) {
    case MivoField::ComboBox:
        return {MivoField("l", id, QStringList(), *gen::anyInt(), "g"),
                MivoField("l", id, QStringList() << "old", 1, "g")};
    case MivoField::CheckBox:
    case MivoField::RadioButton: {
        const bool checked = *rc::gen::arbitrary<bool>();
        return {MivoField(type, "l", id, checked, "g"), MivoField(type, "l", id, !checked, "g")};
    }
    case MivoField::TextEdit:
        // The length of a TextEdit is not written.
        return {MivoField(type, "l", id, text, 7, "g"), MivoField(type, "l", id, "old", 7, "g")};
    case MivoField::SpinBox:
        return {MivoField("l", id, *gen::anyInt(), *gen::anyInt(), *gen::anyInt(), "g"),
                MivoField("l", id, *gen::anyInt(), *gen::anyInt(), *gen::anyInt(), "g")};
    case MivoField::DoubleSpinBox:
        // No zeros to be overwritten: a zero of the other sign is equal and not written.
        return {MivoField("l", id, *gen::anyDouble(), *gen::anyDouble(), *gen::anyDouble(), "g"),
                MivoField("l", id, 3.5, 1.5, 2.5, "g")};
    default:
        return {MivoField(type, "l", id, text, *gen::anyInt(), "g"),
                MivoField(type, "l", id, QString("old"), 7, "g")};
    }
}

void assertSame(const MivoField& a, const MivoField& b)
{
    RC_ASSERT(a.getType() == b.getType());
    RC_ASSERT(a.getId() == b.getId());
    RC_ASSERT(a.getLabel() == b.getLabel());
    RC_ASSERT(a.getGroup() == b.getGroup());
    RC_ASSERT(a.getText() == b.getText());
    RC_ASSERT(a.getComboBoxItems() == b.getComboBoxItems());
    RC_ASSERT(sameNumber(a.getDoubleSpinBoxMax(), b.getDoubleSpinBoxMax()));
    RC_ASSERT(sameNumber(a.getDoubleSpinBoxMin(), b.getDoubleSpinBoxMin()));
    // A limit of zero pulls the value to a zero of its own sign, and an equal one is not written.
    const bool isPulledToZero = a.getDoubleValue() == 0 && b.getDoubleValue() == 0
        && (b.getDoubleSpinBoxMin() == 0 || b.getDoubleSpinBoxMax() == 0);
    RC_ASSERT(isPulledToZero || sameNumber(a.getDoubleValue(), b.getDoubleValue()));
}

/** Merging as it is described: each field in turn takes what the ones before it have left. */
QList<MivoField> naiveMerge(const QList<MivoField>& fields, const MivoXmlNode& node)
{
    QList<MivoXmlNode> left = node.getChildNodes();
    QList<MivoField> merged;
    for (MivoField field : fields) {
        const QList<MivoXmlNode> snapshot = left;
        for (const MivoXmlNode& element : snapshot) {
            const MivoXmlNode id = element.getChild("id");
            if (element.name() == "field" && id.hasData() && id.getData() == field.getId()) {
                field.fromXml(element);
                left.removeOne(element);
            }
        }
        merged << field;
    }
    return merged;
}

} // namespace

class tst_MivoFieldProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    void settersFollowTheModelOnAnyNumberOfCopies();
    void everyKindIsReadBackAsItWasWritten_data();
    void everyKindIsReadBackAsItWasWritten();
    void mergingAListDoesWhatOneByOneDoes();
};

void tst_MivoFieldProperty::settersFollowTheModelOnAnyNumberOfCopies()
{
    const auto step = rc::gen::tuple(rc::gen::inRange(0, operationCount), rc::gen::inRange(0, 8),
                                     rc::gen::inRange(0, 10));
    QVERIFY(rc::check([&] {
        const auto steps = *rc::gen::container<std::vector<Step>>(step);
        std::vector<Pair> pairs;
        pairs.push_back({MivoField("label", "id", "group"), std::make_shared<Model>()});
        for (const Step& next : steps) {
            perform(pairs, next);
            compareSharing(pairs);
            for (Pair& pair : pairs)
                compare(pair);
        }
    }));
}

void tst_MivoFieldProperty::everyKindIsReadBackAsItWasWritten_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("locale");
    const char* const locales[] = {"C", "de_DE", "tr_TR"};
    for (int type = 0; type <= 15; ++type) {
        for (const char* const locale : locales)
            QTest::addRow("kind %d, %s", type, locale) << type << locale;
    }
}

void tst_MivoFieldProperty::everyKindIsReadBackAsItWasWritten()
{
    QFETCH(int, type);
    QFETCH(QString, locale);
    QLocale::setDefault(QLocale(locale));
    QVERIFY(rc::check([type] {
        const QString id = *gen::xmlText();
        std::pair<MivoField, MivoField> fields = anyField(type, id);
        MivoField& written = fields.first;
        if (type == MivoField::ComboBox) {
            const auto items = *rc::gen::container<std::vector<QString>>(gen::xmlText());
            QStringList list;
            for (const QString& item : items)
                list << item;
            written.setComboBoxItems(list);
        }
        const MivoField target = fields.second;
        MivoField field = target;
        QString error;
        const int indent = *rc::gen::element(-1, 0, 2);
        const MivoXmlNode node = MivoXmlNode::parse(written.toXml().toXml(indent), &error);
        RC_ASSERT(error.isNull());
        field.fromXml(node);
        const bool isSaved = (type >= 1 && type <= 11) && !id.isEmpty();
        assertSame(field, isSaved ? written : target);
    }));
}

void tst_MivoFieldProperty::mergingAListDoesWhatOneByOneDoes()
{
    const auto ids = rc::gen::element(QString("a"), QString("b"), QString("c"), QString());
    const auto types = rc::gen::element(0, 1, 2, 4, 6, 9, 10, 11, 12);
    const auto forms
        = rc::gen::container<std::vector<std::tuple<QString, int>>>(rc::gen::tuple(ids, types));
    QVERIFY(rc::check([&] {
        const auto targets = *forms;
        const auto sources = *forms;
        QList<MivoField> fields;
        for (const auto& target : targets)
            fields << anyField(std::get<1>(target), std::get<0>(target)).second;
        MivoXmlNode node("fieldlist", nullptr);
        for (const auto& source : sources) {
            node.appendChild(anyField(std::get<1>(source), std::get<0>(source)).first.toXml());
            if (*rc::gen::inRange(0, 4) == 0)
                node.addChild("other").addChild("id").insertData(std::get<0>(source));
        }
        const QList<MivoField> merged = MivoField::fromXml(fields, node);
        const QList<MivoField> expected = naiveMerge(fields, node);
        RC_ASSERT(merged.size() == fields.size());
        for (int i = 0; i < merged.size(); ++i) {
            assertSame(merged.at(i), expected.at(i));
            RC_ASSERT(
                (MivoFieldPrivate::get(merged.at(i)) == MivoFieldPrivate::get(fields.at(i)))
                == (MivoFieldPrivate::get(expected.at(i)) == MivoFieldPrivate::get(fields.at(i))));
        }
    }));
}

QTEST_APPLESS_MAIN(tst_MivoFieldProperty)
#include "tst_mivofield_property.moc"
