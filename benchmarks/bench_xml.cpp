// What it costs to save and to restore a form, beside Qt's own way without a tree.

#include "Bench.h"

#include "MivoField.h"
#include "MivoXmlNode.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

/** What a user would keep a field in otherwise. */
struct PlainField
{
    int kind = 0;
    QString id;
    QString text;
    QStringList items;
    double max = 0;
    double min = 0;
    double value = 0;
    int number = 0; // the longest text, the chosen item
    bool checked = false;
};

const int kindCount = 6;
const char* const kinds[kindCount]
    = {"combobox", "checkbox", "lineedit", "textedit", "spinbox", "doublespinbox"};

QList<PlainField> plainFields(int count)
{
    QList<PlainField> fields;
    for (int i = 0; i < count; ++i) {
        PlainField field;
        field.kind = i % kindCount;
        field.id = QString::fromLatin1("field %1").arg(i);
        field.text = QString::fromLatin1("text of field %1").arg(i);
        field.items = QStringList() << QString::fromLatin1("one") << QString::fromLatin1("other");
        field.max = 1000.5;
        field.min = -1000.5;
        field.value = i % 1000 + 0.25;
        field.number = 1;
        field.checked = true;
        fields.append(field);
    }
    return fields;
}

QList<MivoField> fields(int count, bool changed)
{
    const QString group = QString::fromLatin1("group");
    QList<MivoField> fields;
    const QList<PlainField> plain = plainFields(count);
    for (const PlainField& field : plain) {
        const QString label = QString::fromLatin1("Label of ") + field.id;
        const QString text = changed ? field.text : QString();
        const double value = changed ? field.value : 0;
        switch (field.kind) {
        case 0:
            fields << MivoField(label, field.id, changed ? field.items : QStringList(),
                                changed ? 1 : 0, group);
            break;
        case 1:
            fields << MivoField(MivoField::CheckBox, label, field.id, changed, group);
            break;
        case 2:
            fields << MivoField(MivoField::LineEdit, label, field.id, text, 100, group);
            break;
        case 3:
            fields << MivoField(MivoField::TextEdit, label, field.id, text, 100, group);
            break;
        case 4:
            fields << MivoField(label, field.id, int(field.max), int(field.min), int(value), group);
            break;
        default:
            fields << MivoField(label, field.id, field.max, field.min, value, group);
            break;
        }
    }
    return fields;
}

QByteArray written(const QList<MivoField>& fields)
{
    return MivoField::toXml(fields).toXml();
}

QByteArray writtenPlainly(const QList<PlainField>& fields)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(2);
    writer.writeStartElement(QLatin1String("fieldlist"));
    for (const PlainField& field : fields) {
        writer.writeStartElement(QLatin1String("field"));
        writer.writeAttribute(QLatin1String("type"), QLatin1String(kinds[field.kind]));
        if (field.kind == 0)
            writer.writeAttribute(QLatin1String("selectedindex"), QString::number(field.number));
        if (field.kind == 1)
            writer.writeAttribute(QLatin1String("checked"), QString::number(int(field.checked)));
        if (field.kind == 2)
            writer.writeAttribute(QLatin1String("maxlength"), QString::number(field.number));
        if (field.kind == 4) {
            writer.writeAttribute(QLatin1String("max"), QString::number(int(field.max)));
            writer.writeAttribute(QLatin1String("min"), QString::number(int(field.min)));
            writer.writeAttribute(QLatin1String("val"), QString::number(int(field.value)));
        }
        if (field.kind == 5) {
            writer.writeAttribute(QLatin1String("max"), QString::number(field.max, 'g', 17));
            writer.writeAttribute(QLatin1String("min"), QString::number(field.min, 'g', 17));
            writer.writeAttribute(QLatin1String("val"), QString::number(field.value, 'g', 17));
        }
        writer.writeTextElement(QLatin1String("id"), field.id);
        if (field.kind == 0) {
            for (const QString& item : field.items)
                writer.writeTextElement(QLatin1String("string"), item);
        }
        if (field.kind == 2 || field.kind == 3)
            writer.writeTextElement(QLatin1String("string"), field.text);
        writer.writeEndElement();
    }
    writer.writeEndElement();
    return xml;
}

PlainField readPlainField(QXmlStreamReader& reader)
{
    PlainField field;
    const QXmlStreamAttributes attributes = reader.attributes();
    const auto type = attributes.value(QLatin1String("type"));
    while (field.kind < kindCount && type != QLatin1String(kinds[field.kind]))
        ++field.kind;
    switch (field.kind) {
    case 0:
        field.number = attributes.value(QLatin1String("selectedindex")).toInt();
        break;
    case 1:
        field.checked = attributes.value(QLatin1String("checked")) == QLatin1String("1");
        break;
    case 2:
        field.number = attributes.value(QLatin1String("maxlength")).toInt();
        break;
    case 4:
    case 5:
        field.max = attributes.value(QLatin1String("max")).toDouble();
        field.min = attributes.value(QLatin1String("min")).toDouble();
        field.value = attributes.value(QLatin1String("val")).toDouble();
        break;
    default:
        break;
    }
    while (reader.readNextStartElement()) {
        if (reader.name() == QLatin1String("id"))
            field.id = reader.readElementText();
        else if (field.kind == 0)
            field.items.append(reader.readElementText());
        else
            field.text = reader.readElementText();
    }
    return field;
}

QList<PlainField> readPlainly(const QByteArray& xml)
{
    QList<PlainField> fields;
    QXmlStreamReader reader(xml);
    if (reader.readNextStartElement()) {
        while (reader.readNextStartElement())
            fields.append(readPlainField(reader));
    }
    return fields;
}

QList<MivoField> readInto(const QList<MivoField>& form, const QByteArray& xml)
{
    return MivoField::fromXml(form, MivoXmlNode::parse(xml));
}

int size(const benchmark::State& state)
{
    return static_cast<int>(state.range(0));
}

void write(benchmark::State& state)
{
    const QList<MivoField> form = fields(size(state), true);
    for (auto _ : state)
        benchmark::DoNotOptimize(written(form));
}

void writePlainly(benchmark::State& state)
{
    const QList<PlainField> form = plainFields(size(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(writtenPlainly(form));
}

void read(benchmark::State& state)
{
    const QList<MivoField> form = fields(size(state), false);
    const QByteArray xml = written(fields(size(state), true));
    if (written(readInto(form, xml)) != xml) {
        state.SkipWithError("what was written is not read back");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(readInto(form, xml));
}

void readPlain(benchmark::State& state)
{
    const QByteArray xml = written(fields(size(state), true));
    if (readPlainly(xml).size() != size(state)) {
        state.SkipWithError("what was written is not read back");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(readPlainly(xml));
}

void memoryOfReading(benchmark::State& state)
{
    const QList<MivoField> form = fields(size(state), false);
    const QByteArray xml = written(fields(size(state), true));
    for (auto _ : state) {
        state.counters["bytes"]
            = bench::peakBytes([&] { benchmark::DoNotOptimize(readInto(form, xml)); });
    }
}

void memoryOfReadingPlainly(benchmark::State& state)
{
    const QByteArray xml = written(fields(size(state), true));
    for (auto _ : state) {
        state.counters["bytes"]
            = bench::peakBytes([&] { benchmark::DoNotOptimize(readPlainly(xml)); });
    }
}

} // namespace

void addRows()
{
    bench::row("write fields as XML")
        .ours(write)
        .peer("QXmlStreamWriter from structs", writePlainly)
        .sizes({1000, 10000})
        .per("field")
        .goal(2.0);
    bench::row("read fields from XML")
        .ours(read)
        .peer("QXmlStreamReader into structs", readPlain)
        .sizes({1000, 10000})
        .per("field")
        .goal(1.8);
    bench::row("most memory in reading fields from XML")
        .ours(memoryOfReading)
        .peer("QXmlStreamReader into structs", memoryOfReadingPlainly)
        .counted(bench::Counted::Bytes)
        .sizes({1000, 10000})
        .per("field")
        .goal(3.0);
}
