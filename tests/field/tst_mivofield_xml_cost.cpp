// What it costs to save and restore forms: in instructions and bytes, whatever else the machine does.
#include "HeapCount.h"
#include "InstructionCount.h"
#include "MivoField.h"
#include "MivoPluginAction.h"
#include "MivoXmlNode.h"

#include <QtTest>

#include <QXmlStreamReader>

namespace {

/** Fields of all kinds that are saved, with values that depend on @p seed. */
QList<MivoField> form(int count, int seed)
{
    QList<MivoField> fields;
    for (int i = 0; i < count; ++i) {
        const QString id = QString("field %1").arg(i);
        const QString text = QString("text %1 of field %2").arg(seed).arg(i);
        switch (i % 6) {
        case 0:
            fields << MivoField("label", id, QStringList() << text << "other", seed, "group");
            break;
        case 1:
            fields << MivoField(MivoField::CheckBox, "label", id, seed % 2 == 0, "group");
            break;
        case 2:
            fields << MivoField(MivoField::LineEdit, "label", id, text, 100 + seed, "group");
            break;
        case 3:
            fields << MivoField(MivoField::TextEdit, "label", id, text, 0, "group");
            break;
        case 4:
            fields << MivoField("label", id, 100 + seed, -100, i % 100 + seed, "group");
            break;
        default:
            fields << MivoField("label", id, 100.5 + seed, -100.5, i % 100 + seed / 4.0, "group");
            break;
        }
    }
    return fields;
}

QByteArray written(const QList<MivoField>& fields)
{
    return MivoField::toXml(fields).toXml();
}

/** What a field's values would be kept in otherwise. */
struct PlainField
{
    QString id;
    QString text;
    QStringList items;
    double max;
    double min;
    double value;
    int number;
    bool checked;
};

QList<PlainField> readPlainly(const QByteArray& xml)
{
    QList<PlainField> fields;
    QXmlStreamReader reader(xml);
    reader.readNextStartElement();
    while (reader.readNextStartElement()) {
        const QXmlStreamAttributes attributes = reader.attributes();
        PlainField field;
        field.max = attributes.value(QLatin1String("max")).toDouble();
        field.min = attributes.value(QLatin1String("min")).toDouble();
        field.value = attributes.value(QLatin1String("val")).toDouble();
        field.number = attributes.value(QLatin1String("maxlength")).toInt();
        field.checked = attributes.value(QLatin1String("checked")) == QLatin1String("1");
        const bool isComboBox
            = attributes.value(QLatin1String("type")) == QLatin1String("combobox");
        while (reader.readNextStartElement()) {
            if (reader.name() == QLatin1String("id"))
                field.id = reader.readElementText();
            else if (isComboBox)
                field.items << reader.readElementText();
            else
                field.text = reader.readElementText();
        }
        fields << field;
    }
    return fields;
}

} // namespace

class tst_MivoFieldXmlCost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savingGrowsLinearly();
    void restoringGrowsLinearly();
    void restoringTakesNoMoreThanThreeTimesTheMemoryOfPlainStructs();
};

void tst_MivoFieldXmlCost::savingGrowsLinearly()
{
    if (!canCountInstructions())
        QSKIP("valgrind does not run programs with sanitizers");
    const auto saving = [](int count) {
        const QList<MivoField> fields = form(count, 1);
        return [fields] { written(fields); };
    };
    const double growth = tenfoldGrowth(saving, 1000);
    QVERIFY(growth > 8);
    QVERIFY(growth < 11);
}

void tst_MivoFieldXmlCost::restoringGrowsLinearly()
{
    if (!canCountInstructions())
        QSKIP("valgrind does not run programs with sanitizers");
    const auto restoring = [](int count) {
        const QList<MivoField> fields = form(count, 1);
        const QByteArray xml = written(form(count, 2));
        return [fields, xml] {
            const QList<MivoField> read = MivoField::fromXml(fields, MivoXmlNode::parse(xml));
            if (read.last().toXml().toXml() == fields.last().toXml().toXml())
                qFatal("nothing is restored");
        };
    };
    const double growth = tenfoldGrowth(restoring, 1000);
    QVERIFY(growth > 8);
    QVERIFY(growth < 11);
}

void tst_MivoFieldXmlCost::restoringTakesNoMoreThanThreeTimesTheMemoryOfPlainStructs()
{
    if (!canCountHeap())
        QSKIP("the sanitizers have a heap of their own");
    const int count = 10000;
    const QList<MivoField> fields = form(count, 1);
    const QByteArray xml = written(form(count, 2));
    QList<PlainField> plain;
    const HeapCount::Use peer = HeapCount::of([&] { plain = readPlainly(xml); });
    QList<MivoField> read;
    const HeapCount::Use own
        = HeapCount::of([&] { read = MivoField::fromXml(fields, MivoXmlNode::parse(xml)); });
    QCOMPARE(int(plain.size()), count);
    QCOMPARE(written(read), xml);
    qInfo("at most %lld bytes a field, in structs %lld", static_cast<long long>(own.peak / count),
          static_cast<long long>(peer.peak / count));
    QVERIFY(peer.peak > 0);
    QVERIFY(own.peak <= 3 * peer.peak);
}

QTEST_APPLESS_MAIN(tst_MivoFieldXmlCost)
#include "tst_mivofield_xml_cost.moc"
