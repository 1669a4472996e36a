#include "DataForm.h"
#include "Stanza.h"

#include <MivoSecret.h>

#include <QtTest>

namespace {

/** As a stream gives it: each element with its namespace. */
MivoXmlNode withNamespace(const MivoXmlNode& element, const QString& inherited = QString())
{
    MivoXmlNode node = element;
    if (node.getAttribute("xmlns").isNull())
        node.setAttribute("xmlns", inherited);
    for (const MivoXmlNode& child : node.getChildNodes())
        withNamespace(child, node.getAttribute("xmlns"));
    return node;
}

DataForm formOf(const QByteArray& fields, const QByteArray& type = "form")
{
    QString error;
    const MivoXmlNode element = MivoXmlNode::parse(
        "<x xmlns='jabber:x:data' type='" + type + "'>" + fields + "</x>", &error);
    if (element.isNull())
        qFatal("%s", qPrintable(error));
    return DataForm(withNamespace(element));
}

QByteArray submitted(const DataForm& form)
{
    return form.submission().toXml(-1);
}

QByteArray submissionOf(const QByteArray& fields)
{
    return fields.isEmpty() ? QByteArray("<x type=\"submit\" xmlns=\"jabber:x:data\"/>")
                            : "<x type=\"submit\" xmlns=\"jabber:x:data\">" + fields + "</x>";
}

} // namespace

/** Forms of servers (XEP-0004) as fields, and back. */
class DataFormTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyTypeBecomesAFieldAndGoesBack_data();
    void everyTypeBecomesAFieldAndGoesBack();
    void whatTheUserChoosesGoesBack_data();
    void whatTheUserChoosesGoesBack();
    void hiddenFieldsAreNotShownAndComeBack();
    void aRequiredFieldMustBeFilledIn();
    void anAddressMustBeOne();
    void fieldsOfOneNameStayApart();
    void aResultIsOnlyShown();
    void mediaAreShownAsLabels();
    void whatIsNoFormIsNone();
};

void DataFormTest::everyTypeBecomesAFieldAndGoesBack_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QByteArray>("back");
    const auto row
        = [](const char* name, const char* field, int kind, const char* label, const char* back) {
              QTest::newRow(name) << QByteArray(field) << kind << label << QByteArray(back);
          };
    row("text-single", "<field type='text-single' var='a' label='A'><value>x</value></field>",
        MivoField::LineEdit, "A", "<field type=\"text-single\" var=\"a\"><value>x</value></field>");
    row("empty", "<field type='text-single' var='a' label='A'/>", MivoField::LineEdit, "A",
        "<field type=\"text-single\" var=\"a\"/>");
    row("no type", "<field var='a'><value>x</value></field>", MivoField::LineEdit, "a",
        "<field type=\"text-single\" var=\"a\"><value>x</value></field>");
    row("unknown type", "<field type='future' var='a'><value>x</value></field>",
        MivoField::LineEdit, "a", "<field type=\"text-single\" var=\"a\"><value>x</value></field>");
    row("text-private", "<field type='text-private' var='a' label='A'><value>x</value></field>",
        MivoSecretField, "A", "<field type=\"text-private\" var=\"a\"><value>x</value></field>");
    row("text-multi",
        "<field type='text-multi' var='a' "
        "label='A'><value>x</value><value/><value>y</value></field>",
        MivoField::TextEdit, "A",
        "<field type=\"text-multi\" var=\"a\"><value>x</value><value/><value>y</value></field>");
    row("boolean 1", "<field type='boolean' var='a' label='A'><value>1</value></field>",
        MivoField::CheckBox, "A", "<field type=\"boolean\" var=\"a\"><value>1</value></field>");
    row("boolean true", "<field type='boolean' var='a' label='A'><value>true</value></field>",
        MivoField::CheckBox, "A", "<field type=\"boolean\" var=\"a\"><value>true</value></field>");
    row("list-single",
        "<field type='list-single' var='a' label='A'><option label='One'><value>1</value></option>"
        "<option><value>2</value></option><value>2</value></field>",
        MivoField::ComboBox, "A", "<field type=\"list-single\" var=\"a\"><value>2</value></field>");
    row("list-single without choice",
        "<field type='list-single' var='a' label='A'><option><value>1</value></option></field>",
        MivoField::ComboBox, "A", "<field type=\"list-single\" var=\"a\"/>");
    row("jid-single", "<field type='jid-single' var='a' label='A'><value>a@b</value></field>",
        MivoField::LineEdit, "A",
        "<field type=\"jid-single\" var=\"a\"><value>a@b</value></field>");
    row("fixed", "<field type='fixed'><value>Read this</value></field>", MivoField::Label,
        "Read this", "");
    row("list-multi",
        "<field type='list-multi' var='a' label='A'><option label='One'><value>1</value></option>"
        "<option label='Two'><value>2</value></option><value>1</value><value>2</value></field>",
        MivoField::Label, "A: One, Two",
        "<field type=\"list-multi\" var=\"a\"><value>1</value><value>2</value></field>");
    row("jid-multi",
        "<field type='jid-multi' var='a' label='A'><value>a@b</value><value>c@d</value></field>",
        MivoField::Label, "A: a@b, c@d",
        "<field type=\"jid-multi\" var=\"a\"><value>a@b</value><value>c@d</value></field>");
}

void DataFormTest::everyTypeBecomesAFieldAndGoesBack()
{
    QFETCH(const QByteArray, field);
    QFETCH(const int, kind);
    QFETCH(const QString, label);
    QFETCH(const QByteArray, back);
    DataForm form = formOf(field);
    QVERIFY(form.isQuestion());
    const QList<MivoField> shown = form.fields("1.form.", "Group");
    QCOMPARE(shown.size(), 1);
    QCOMPARE(int(shown.first().getType()), kind);
    QCOMPARE(shown.first().getLabel(), label);
    QCOMPARE(shown.first().getGroup(), QString("Group"));
    QVERIFY(shown.first().getVisible());
    QCOMPARE(submitted(form), submissionOf(back));
    QCOMPARE(form.setValues("1.form.", shown), QString());
    QCOMPARE(submitted(form), submissionOf(back));
}

void DataFormTest::whatTheUserChoosesGoesBack_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("back");
    const auto row
        = [](const char* name, const char* field, const QVariant& value, const char* back) {
              QTest::newRow(name) << QByteArray(field) << value << QByteArray(back);
          };
    row("text-single", "<field type='text-single' var='a'><value>x</value></field>", "y <&> z",
        "<field type=\"text-single\" var=\"a\"><value>y &lt;&amp;&gt; z</value></field>");
    row("text-private", "<field type='text-private' var='a'/>", "secret",
        "<field type=\"text-private\" var=\"a\"><value>secret</value></field>");
    row("emptied", "<field type='text-single' var='a'><value>x</value></field>", "",
        "<field type=\"text-single\" var=\"a\"/>");
    row("text-multi", "<field type='text-multi' var='a'/>", "x\n\ny",
        "<field type=\"text-multi\" var=\"a\"><value>x</value><value/><value>y</value></field>");
    row("boolean", "<field type='boolean' var='a'/>", true,
        "<field type=\"boolean\" var=\"a\"><value>1</value></field>");
    row("list-single",
        "<field type='list-single' var='a'><option label='One'><value>1</value></option>"
        "<option><value>2</value></option><value>2</value></field>",
        0u, "<field type=\"list-single\" var=\"a\"><value>1</value></field>");
    row("jid-single", "<field type='jid-single' var='a'/>", "ann@example.org",
        "<field type=\"jid-single\" var=\"a\"><value>ann@example.org</value></field>");
}

void DataFormTest::whatTheUserChoosesGoesBack()
{
    QFETCH(const QByteArray, field);
    QFETCH(const QVariant, value);
    QFETCH(const QByteArray, back);
    DataForm form = formOf(field);
    QList<MivoField> shown = form.fields("f.", QString());
    if (shown.first().getType() == MivoField::CheckBox)
        shown.first().setChecked(value.toBool());
    else if (shown.first().getType() == MivoField::ComboBox)
        shown.first().setSelectedIndex(value.toUInt());
    else
        shown.first().setText(value.toString());
    QCOMPARE(form.setValues("f.", shown), QString());
    QCOMPARE(submitted(form), submissionOf(back));
    QVERIFY(form.fields("f.", QString()).first() == shown.first());
}

void DataFormTest::hiddenFieldsAreNotShownAndComeBack()
{
    DataForm form = formOf("<field type='hidden' var='FORM_TYPE'><value>a</value></field>");
    QList<MivoField> shown = form.fields("f.", QString());
    QCOMPARE(shown.size(), 1);
    QVERIFY(!shown.first().getVisible());
    shown.first().setText("forged");
    QCOMPARE(form.setValues("f.", shown), QString());
    QCOMPARE(submitted(form),
             submissionOf("<field type=\"hidden\" var=\"FORM_TYPE\"><value>a</value></field>"));
}

void DataFormTest::aRequiredFieldMustBeFilledIn()
{
    DataForm form = formOf("<field type='text-single' var='a' label='Name'><required/></field>");
    QList<MivoField> shown = form.fields("f.", QString());
    QCOMPARE(shown.first().getLabel(), QString("Name (required)"));
    QCOMPARE(form.lack(), QString("Name (required): found nothing; expected that it is filled in"));
    shown.first().setText("Ann");
    QCOMPARE(form.setValues("f.", shown), QString());
    QCOMPARE(form.lack(), QString());
}

void DataFormTest::anAddressMustBeOne()
{
    DataForm form = formOf("<field type='text-single' var='b'/>"
                           "<field type='jid-single' var='a' label='Friend'/>");
    QList<MivoField> shown = form.fields("f.", QString());
    shown[0].setText("changed");
    shown[1].setText("a@@b");
    QCOMPARE(form.setValues("f.", shown),
             QString("Friend: found \"a@@b\"; expected an address such as ann@example.org"));
    QCOMPARE(form.fields("f.", QString()).first().getText(), QString()); // nothing was changed
}

void DataFormTest::fieldsOfOneNameStayApart()
{
    DataForm form = formOf("<field var='a'><value>1</value></field><field var='a'/>"
                           "<field type='fixed'/><field type='fixed'/>");
    QList<MivoField> shown = form.fields("f.", QString());
    QSet<QString> ids;
    for (const MivoField& field : shown)
        ids.insert(field.getId());
    QCOMPARE(ids.size(), 4);
    shown[1].setText("2");
    QCOMPARE(form.setValues("f.", shown), QString());
    QCOMPARE(submitted(form),
             submissionOf("<field type=\"text-single\" var=\"a\"><value>1</value></field>"
                          "<field type=\"text-single\" var=\"a\"><value>2</value></field>"));
}

void DataFormTest::aResultIsOnlyShown()
{
    const DataForm form = formOf(
        "<title>Found</title><instructions>Two</instructions>"
        "<field type='text-single' var='n' label='Number'><value>2</value></field>"
        "<reported><field var='name'/></reported>"
        "<item><field var='name'><value>Ann</value></field><field var='age'><value>9</value>"
        "</field></item>",
        "result");
    QVERIFY(!form.isQuestion());
    QCOMPARE(form.title(), QString("Found"));
    QStringList labels;
    for (const MivoField& field : form.fields("f.", QString())) {
        QCOMPARE(field.getType(), MivoField::Label);
        labels.append(field.getLabel());
    }
    QCOMPARE(labels, QStringList({"Two", "Number: 2", "name: Ann; age: 9"}));
}

void DataFormTest::mediaAreShownAsLabels()
{
    const DataForm form = formOf("<field type='text-single' var='ocr' label='Letters'>"
                                 "<media xmlns='urn:xmpp:media-element'>"
                                 "<uri type='image/png'>cid:1@example.org</uri></media></field>");
    const QList<MivoField> shown = form.fields("f.", QString());
    QCOMPARE(shown.size(), 2);
    QCOMPARE(shown.at(0).getLabel(), QString("Letters: cid:1@example.org"));
    QCOMPARE(shown.at(0).getType(), MivoField::Label);
    QCOMPARE(shown.at(1).getType(), MivoField::LineEdit);
}

void DataFormTest::whatIsNoFormIsNone()
{
    QVERIFY(DataForm().isNull());
    QVERIFY(DataForm(MivoXmlNode()).isNull());
    QVERIFY(DataForm(MivoXmlNode("x")).isNull());
    QVERIFY(DataForm().fields("f.", QString()).isEmpty());
    QVERIFY(!DataForm().isQuestion());
}

QTEST_APPLESS_MAIN(DataFormTest)
#include "tst_dataform.moc"
