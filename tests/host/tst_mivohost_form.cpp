#include "MivoHostCommand.h"

#include <sys/stat.h>

namespace {

const QString settings = SETTINGS_PLUGIN;
const QString echo = ECHO_PLUGIN;
const QString oddForm = QString(FIXTURES) + "/oddform.so";
const QString secretForm = QString(FIXTURES) + "/secretform.so";

Outcome form(const QStringList& arguments)
{
    return mivoHost(QStringList("form") + arguments);
}

QByteArray contentOf(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

void write(const QString& fileName, const QByteArray& content)
{
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QByteArray fieldList(const QByteArray& fields)
{
    return "<fieldlist>" + fields + "</fieldlist>";
}

} // namespace

/** `mivo-host form` as its user sees it. */
class MivoHostFormTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanupTestCase() { QFile::remove(bigFile()); }
    void theFormIsShownInGroups();
    void oddFieldsAreShownAsWell();
    void aPluginWithoutAFormHasNoFields();
    void aFormThatCannotBeMadeIsReported();
    void setChangesOneValue_data();
    void setChangesOneValue();
    void setRefusesWhatDoesNotFit_data();
    void setRefusesWhatDoesNotFit();
    void theFormIsShownAsThePluginThenAnswersIt();
    void aRefusalIsShownAsItsSentence_data();
    void aRefusalIsShownAsItsSentence();
    void secretsAreShownMasked();
    void messagesQuoteNoSecret_data();
    void messagesQuoteNoSecret();
    void secretsAreSavedOnlyWhenAskedFor();
    void aFileWithoutTheSecretLeavesThePluginsAlone();
    void numbersAreThoseOfTheCLocale();
    void whatIsSavedIsThisXml();
    void whatIsSavedIsLoadedAgain();
    void theFirstFieldOfAnIdIsTheOneThatCounts();
    void valuesAreLoadedThenSetThenSaved();
    void elementsThatFitNoFieldAreIgnored();
    void aFileThatHoldsNoValuesIsRefused_data();
    void aFileThatHoldsNoValuesIsRefused();
    void aFileThatCannotBeReadIsRefused_data();
    void aFileThatCannotBeReadIsRefused();
    void aFileThatCannotBeWrittenIsReported_data();
    void aFileThatCannotBeWrittenIsReported();
    void aWriteThatFailsHalfwayKeepsTheFile();
    void aFileThatIsNotRegularIsNeitherReadNorReplaced();
    void fileNamesNeedNotBeUtf8();
    void nothingIsSavedWhenTheFormCannotBeShown();
    void nothingIsSavedWithoutThePlugin_data();
    void nothingIsSavedWithoutThePlugin();
    void aClickedButtonRunsItsActionInTheOtherPlugin();
    void aButtonWithoutAnActionIsHarmless();
    void nothingIsSavedWhenAClickFails_data();
    void nothingIsSavedWhenAClickFails();
    void wrongUsageShowsTheUsage_data();
    void wrongUsageShowsTheUsage();

private:
    /** One byte larger than what is read; it takes no room on the disk. */
    QString bigFile() const
    {
        QFile file(QDir::temp().filePath("tst_mivohost_form.big"));
        if (!file.open(QIODevice::WriteOnly) || !file.resize((64 << 20) + 1))
            qFatal("%s cannot be made", qPrintable(file.fileName()));
        return file.fileName();
    }

    QString in() const { return folder->filePath("in.xml"); }
    QString out() const { return folder->filePath("out.xml"); }

    QScopedPointer<QTemporaryDir> folder;
};

void MivoHostFormTest::init()
{
    folder.reset(new QTemporaryDir);
    QVERIFY(folder->isValid());
}

void MivoHostFormTest::theFormIsShownInGroups()
{
    const Outcome outcome = form({settings});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.out,
             QString("settings 0.1.0\n"
                     "\n"
                     "Profile\n"
                     "  about      What others see of you (label)\n"
                     "  nickname   Nickname: \"Ann\" (line edit, at most 32 characters)\n"
                     "  signature  Signature: \"Sent from\\nmy garden\" (text edit)\n"
                     "  picture    (image, 78 bytes)\n"
                     "\n"
                     "Presence\n"
                     "  online     Sign in as online: true (radio button)\n"
                     "  away       Sign in as away: false (radio button)\n"
                     "  autoaway   Away when idle: true (check box)\n"
                     "  awayafter  Minutes until away: 10 (spin box, 1 to 120)\n"
                     "\n"
                     "Look and sound\n"
                     "  theme      Theme: \"as the desktop\" (combo box of \"light\", \"dark\", "
                     "\"as the desktop\")\n"
                     "  volume     Volume: 0.5 (double spin box, 0 to 1)\n"
                     "  greet      Greet the echo plug-in (button, without an action)\n"));
    QCOMPARE(outcome.status, 0);
}

void MivoHostFormTest::oddFieldsAreShownAsWell()
{
    const Outcome outcome = form({oddForm});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(
        outcome.out,
        QString("OddFormPlugin\n"
                "\n"
                "(no group)\n"
                "              Texts in two lines (label)\n"
                "              (no kind)\n"
                "              Below (label)\n"
                "  fail        Fail (button)\n"
                "  strange     Strange (kind 77)\n"
                "\n"
                "Texts\n"
                "  twin        One: \"1\" (line edit)\n"
                "  twin        Two: \"2\" (line edit, another field has this id before)\n"
                "  reserved    Reserved: \"\" (line edit, at most 2 characters)\n"
                "\n"
                "Flags\n"
                "  locked      Locked: true (check box, read-only)\n"
                "  secret      Secret: \"\" (line edit, at most 4 characters, hidden)\n"
                "\n"
                "Numbers\n"
                "  empty       Empty: no item (index 0) (combo box)\n"
                "  countdown   Countdown: no item (index 7) (combo box of \"2\", \"1\", \"0\")\n"
                "  upsidedown  Upside down: 5 (spin box, 7 to 3)\n"
                "  whole       Whole: 0 (spin box, -2147483648 to 2147483647)\n"
                "  real        Real: 0.1 (double spin box, -inf to inf)\n"));
    QCOMPARE(outcome.status, 0);
}

void MivoHostFormTest::aPluginWithoutAFormHasNoFields()
{
    const Outcome outcome = form({echo, "--save", out()});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.out, QString("echo 0.1.0\n  no fields\n"));
    QCOMPARE(outcome.status, 0);
    QCOMPARE(contentOf(out()), QByteArray("<fieldlist/>\n"));
}

void MivoHostFormTest::aFormThatCannotBeMadeIsReported()
{
    const Outcome outcome = form({QString(FIXTURES) + "/brokenform.so"});
    QCOMPARE(outcome.error,
             QString("mivo-host form: BrokenFormPlugin: its form cannot be made: out of paper\n"));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
}

void MivoHostFormTest::setChangesOneValue_data()
{
    QTest::addColumn<QString>("plugin");
    QTest::addColumn<QString>("assignment");
    QTest::addColumn<QString>("shown");
    const QString emoji = QString::fromUtf8("J\xc3\xbcrgen \xf0\x9f\x8c\xb7");
    const QString longest(32, 'x');

    QTest::newRow("line edit") << settings << "nickname=" + emoji << "Nickname: \"" + emoji + '"';
    QTest::newRow("with =") << settings << "nickname=a=b="
                            << "Nickname: \"a=b=\"";
    QTest::newRow("no text") << settings << "signature="
                             << "Signature: \"\"";
    QTest::newRow("blanks") << settings << "nickname= a "
                            << "Nickname: \" a \"";
    QTest::newRow("like an option") << settings << "nickname=--load"
                                    << "Nickname: \"--load\"";
    QTest::newRow("longest") << settings << "nickname=" + longest << "Nickname: \"" + longest + '"';
    QTest::newRow("text edit") << settings << "signature=a\n\"b\"\\\t"
                               << "Signature: \"a\\n\\\"b\\\"\\\\\\t\"";
    QTest::newRow("text edit beyond its hint")
        << settings << "signature=" + QString(501, 'x') << "Signature: \"" + QString(501, 'x');
    QTest::newRow("check box") << settings << "autoaway=false"
                               << "Away when idle: false";
    QTest::newRow("radio button") << settings << "away=true"
                                  << "Sign in as away: true";
    QTest::newRow("item") << settings << "theme=dark"
                          << "Theme: \"dark\"";
    QTest::newRow("index") << settings << "theme=0"
                           << "Theme: \"light\"";
    QTest::newRow("item before index") << oddForm << "countdown=2"
                                       << "Countdown: \"2\" (";
    QTest::newRow("lowest") << settings << "awayafter=1"
                            << "Minutes until away: 1 (";
    QTest::newRow("highest") << settings << "awayafter=120"
                             << "Minutes until away: 120 (";
    QTest::newRow("least of all") << oddForm << "whole=-2147483648"
                                  << "Whole: -2147483648 (";
    QTest::newRow("most of all") << oddForm << "whole=2147483647"
                                 << "Whole: 2147483647 (";
    QTest::newRow("double") << settings << "volume=0.123456789"
                            << "Volume: 0.123456789 (";
    QTest::newRow("lowest double") << settings << "volume=0"
                                   << "Volume: 0 (";
    QTest::newRow("highest double") << settings << "volume=1e0"
                                    << "Volume: 1 (";
    QTest::newRow("infinity") << oddForm << "real=-inf"
                              << "Real: -inf (";
    QTest::newRow("no limit of length") << oddForm << "twin=" + QString(99, 'x') << "One: \"xx";
    QTest::newRow("reserved kind") << oddForm << "reserved=ab"
                                   << "Reserved: \"ab\"";
    QTest::newRow("hidden field") << oddForm << "secret=word"
                                  << "Secret: \"word\"";
}

void MivoHostFormTest::setChangesOneValue()
{
    QFETCH(QString, plugin);
    QFETCH(QString, assignment);
    QFETCH(QString, shown);
    const Outcome outcome = form({plugin, "--set", assignment});
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("  " + shown), qPrintable(outcome.out));
    QCOMPARE(outcome.status, 0);

    const QStringList before = form({plugin}).out.split('\n');
    const QStringList after = outcome.out.split('\n');
    QCOMPARE(after.size(), before.size());
    int changed = 0;
    for (int i = 0; i < after.size(); ++i)
        changed += after.at(i) == before.at(i) ? 0 : 1;
    QCOMPARE(changed, 1);
}

void MivoHostFormTest::setRefusesWhatDoesNotFit_data()
{
    QTest::addColumn<QString>("plugin");
    QTest::addColumn<QString>("assignment");
    QTest::addColumn<QString>("sentence");

    const QString known
        = "expected one of: nickname, signature, online, away, autoaway, awayafter, "
          "theme, volume";
    QTest::newRow("unknown") << settings << "nick=Bob"
                             << "found no field with the id \"nick\"; " + known;
    QTest::newRow("another case") << settings << "Nickname=Bob"
                                  << "found no field with the id \"Nickname\"; " + known;
    QTest::newRow("no id") << settings << "=Bob"
                           << "found no field with the id \"\"; " + known;
    QTest::newRow("no fields") << echo << "a=b"
                               << "found no field with the id \"a\"; expected nothing, as none can "
                                  "be used here";

    const QString boolean = "; expected true or false";
    QTest::newRow("check box") << settings << "autoaway=yes"
                               << "autoaway (check box): found \"yes\"" + boolean;
    QTest::newRow("case of a check box") << settings << "autoaway=True"
                                         << "autoaway (check box): found \"True\"" + boolean;
    QTest::newRow("radio button") << settings << "away=1"
                                  << "away (radio button): found \"1\"" + boolean;

    const QString items
        = "; expected one of \"light\", \"dark\", \"as the desktop\", or an index from 0 to 2";
    QTest::newRow("no item") << settings << "theme=blue"
                             << "theme (combo box): found \"blue\"" + items;
    QTest::newRow("case of an item") << settings << "theme=Dark"
                                     << "theme (combo box): found \"Dark\"" + items;
    QTest::newRow("index beyond") << settings << "theme=3"
                                  << "theme (combo box): found \"3\"" + items;
    QTest::newRow("index below") << settings << "theme=-1"
                                 << "theme (combo box): found \"-1\"" + items;
    QTest::newRow("index with a blank") << settings << "theme= 1"
                                        << "theme (combo box): found \" 1\"" + items;
    QTest::newRow("without items") << oddForm << "empty=0"
                                   << "empty (combo box): found \"0\"; expected nothing, as it has "
                                      "no items";

    const QString whole = "; expected a whole number from 1 to 120";
    for (const char* text :
         {"0", "121", "many", "1.5", "", " 5", "5 ", "0x5", "1e1", "99999999999"})
        QTest::newRow(qPrintable(QString("spin box \"%1\"").arg(text)))
            << settings << QString("awayafter=%1").arg(text)
            << QString("awayafter (spin box): found \"%1\"").arg(text) + whole;
    QTest::newRow("limits upside down")
        << oddForm << "upsidedown=5"
        << "upsidedown (spin box): found \"5\"; expected a whole number from 7 to 3";

    const QString real = "; expected a number from 0 to 1";
    for (const char* text : {"1.5", "-0.1", "loud", "nan", "inf", "0,5", "1,0", "", " 1"})
        QTest::newRow(qPrintable(QString("double spin box \"%1\"").arg(text)))
            << settings << QString("volume=%1").arg(text)
            << QString("volume (double spin box): found \"%1\"").arg(text) + real;

    QTest::newRow("too long") << settings << "nickname=" + QString(33, 'x')
                              << "nickname (line edit): found 33 characters; expected at most 32";
    const QString nothing = "; expected nothing, as it has no value";
    QTest::newRow("label") << settings << "about=x"
                           << "about (label): found \"x\"" + nothing;
    QTest::newRow("button") << settings << "greet=x"
                            << "greet (button): found \"x\"" + nothing;
    QTest::newRow("image") << settings << "picture=x"
                           << "picture (image): found \"x\"" + nothing;
    QTest::newRow("kind without a name") << oddForm << "strange=x"
                                         << "strange (kind 77): found \"x\"" + nothing;
    QTest::newRow("read-only") << oddForm << "locked=false"
                               << "locked (check box): found \"false\"; expected nothing, as it is "
                                  "read-only";
}

void MivoHostFormTest::setRefusesWhatDoesNotFit()
{
    QFETCH(QString, plugin);
    QFETCH(QString, assignment);
    QFETCH(QString, sentence);
    write(out(), "kept");
    const Outcome outcome = form({plugin, "--save", out(), "--set", assignment});
    QCOMPARE(outcome.error, "mivo-host form: " + sentence + '\n');
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
    QCOMPARE(contentOf(out()), QByteArray("kept"));
}

void MivoHostFormTest::theFormIsShownAsThePluginThenAnswersIt()
{
    // The plug-in takes the name over without the blanks around it.
    const Outcome text = form({secretForm, "--set", "user= bob ", "--save", out()});
    QVERIFY2(text.out.contains("User: \"bob\" ("), qPrintable(text.out));
    QCOMPARE(text.error, QString());
    QCOMPARE(text.status, 0);
    QVERIFY2(contentOf(out()).contains(">bob<"), contentOf(out()).constData());
    const Outcome json = form({secretForm, "--load", out(), "--json"});
    QVERIFY2(json.out.contains("\"value\":\"bob\""), qPrintable(json.out));
    // What nobody changes is not given to the plug-in: this one refuses all.
    QCOMPARE(form({echo}).status, 0);
}

void MivoHostFormTest::aRefusalIsShownAsItsSentence_data()
{
    QTest::addColumn<QString>("plugin");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("set") << settings << QStringList({"--set", "nickname=", "theme=dark"})
                         << "settings does not take the values over: the nickname is empty; others "
                            "need something to call you";
    QTest::newRow("JSON") << secretForm << QStringList({"--json", "--set", "user=a b"})
                          << "SecretFormPlugin does not take the values over: the user a b is two";
    QTest::newRow("load") << secretForm << QStringList({"--load", in()})
                          << "SecretFormPlugin does not take the values over: the user c d is two";
    QTest::newRow("sentence in two lines")
        << secretForm << QStringList({"--set", "user=a \n\x1b[31mb"})
        << "SecretFormPlugin does not take the values over: the user a \\u000a\\u001b[31mb is two";
}

void MivoHostFormTest::aRefusalIsShownAsItsSentence()
{
    QFETCH(QString, plugin);
    QFETCH(QStringList, options);
    QFETCH(QString, sentence);
    options.replaceInStrings(QRegularExpression(".*/in.xml"), in());
    write(in(), fieldList("<field type=\"lineedit\"><id>user</id><string>c d</string></field>"));
    write(out(), "untouched");
    const Outcome outcome = form(QStringList(plugin) + options + QStringList({"--save", out()}));
    QCOMPARE(outcome.error, "mivo-host form: " + sentence + '\n');
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
    QCOMPARE(contentOf(out()), QByteArray("untouched"));
}

void MivoHostFormTest::secretsAreShownMasked()
{
    const Outcome text = form({secretForm, "--set", "old=0ld"});
    QCOMPARE(text.out,
             QString("SecretFormPlugin\n"
                     "\n"
                     "Account\n"
                     "  user      User: \"ann\" (line edit, at most 20 characters)\n"
                     "  password  Password: ******** (secret, at most 20 characters)\n"
                     "  old       Old password: \"\" (secret, at most 20 characters)\n"
                     "  token     Token: ******** (secret, read-only)\n"));
    QCOMPARE(text.status, 0);
    const Outcome json = form({secretForm, "--json"});
    QVERIFY2(json.out.contains("\"id\":\"password\",\"isSet\":true,"), qPrintable(json.out));
    QVERIFY2(json.out.contains("\"id\":\"old\",\"isSet\":false,"), qPrintable(json.out));
    for (const QStringList& words :
         {QStringList({"form", secretForm}), QStringList({"form", secretForm, "--json"}),
          QStringList({"call", secretForm, "form"}),
          QStringList({"call", secretForm, "form", "--json"}),
          QStringList({"form", secretForm, "--set", "password=hush-new"}),
          QStringList({"form", secretForm, "--save", out()})}) {
        const Outcome outcome = mivoHost(words);
        QCOMPARE(outcome.status, 0);
        QVERIFY2(outcome.out.contains("password"), qPrintable(outcome.out));
        for (const char* secret : {"hush", "t0ken"})
            QVERIFY2(!(outcome.out + outcome.error).contains(secret), qPrintable(words.join(' ')));
    }
}

void MivoHostFormTest::messagesQuoteNoSecret_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("too long") << "password=hush-hush-hush-hush-hush"
                              << "password (secret): found 24 characters; expected at most 20";
    QTest::newRow("read-only") << "token=hush"
                               << "token (secret): found a value; expected nothing, as it is "
                                  "read-only";
    QTest::newRow("not UTF-8") << "password=hush$'\\xe9'"
                               << "--set: found password=... that is not UTF-8; expected ID=VALUE";
    QTest::newRow("another id")
        << "passwort=hush"
        << "found no field with the id \"passwort\"; expected one of: user, "
           "password, old";
}

void MivoHostFormTest::messagesQuoteNoSecret()
{
    QFETCH(QString, line);
    QFETCH(QString, sentence);
    const Outcome outcome = outcomeOf(
        "bash", {"-c", "\"$1\" form \"$2\" --set " + line, "bash", MIVO_HOST, secretForm});
    QCOMPARE(outcome.error.section('\n', 0, 0), "mivo-host form: " + sentence);
    QVERIFY2(!outcome.error.contains("hush"), qPrintable(outcome.error));
    QVERIFY(outcome.status != 0);
}

void MivoHostFormTest::secretsAreSavedOnlyWhenAskedFor()
{
    QCOMPARE(form({secretForm, "--save", out()}).status, 0);
    const QByteArray without = contentOf(out());
    QVERIFY2(without.contains("ann"), without.constData());
    for (const char* word : {"hush", "t0ken", "password", "old"})
        QVERIFY2(!without.contains(word), without.constData());

    const Outcome outcome
        = form({secretForm, "--set", "password=n3w", "--with-secrets", "--save", out()});
    QCOMPARE(outcome.status, 0);
    QVERIFY2(!outcome.out.contains("n3w"), qPrintable(outcome.out));
    const QByteArray with = contentOf(out());
    QVERIFY2(with.contains(">n3w<") && with.contains(">t0ken<"), with.constData());
    QVERIFY(QFile::remove(out()));
    QCOMPARE(form({secretForm, "--with-secrets", "--save", out()}).status, 0);
    QCOMPARE(QFile::permissions(out())
                 & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
             QFile::Permissions());
}

void MivoHostFormTest::aFileWithoutTheSecretLeavesThePluginsAlone()
{
    QCOMPARE(form({secretForm, "--set", "user=eve", "--save", in()}).status, 0);
    QVERIFY(!contentOf(in()).contains("password"));
    const Outcome outcome = form({secretForm, "--load", in(), "--with-secrets", "--save", out()});
    QVERIFY2(outcome.out.contains("User: \"eve\""), qPrintable(outcome.out));
    QVERIFY2(contentOf(out()).contains(">hush-hush<"), contentOf(out()).constData());
    // One that is there is taken over.
    QCOMPARE(form({secretForm, "--set", "password=n3w", "--with-secrets", "--save", in()}).status,
             0);
    QCOMPARE(form({secretForm, "--load", in(), "--with-secrets", "--save", out()}).status, 0);
    QVERIFY2(contentOf(out()).contains(">n3w<"), contentOf(out()).constData());
}

void MivoHostFormTest::numbersAreThoseOfTheCLocale()
{
    Outcome outcome
        = mivoHost({"form", settings, "--set", "volume=0.25", "--save", out()}, "de_DE.UTF-8");
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("Volume: 0.25 ("), qPrintable(outcome.out));
    QVERIFY2(contentOf(out()).contains(" val=\"0.25\""), contentOf(out()).constData());

    outcome = mivoHost({"form", settings, "--set", "volume=0,25"}, "de_DE.UTF-8");
    QCOMPARE(outcome.status, 1);
}

void MivoHostFormTest::whatIsSavedIsThisXml()
{
    const QString nickname = QString::fromUtf8("nickname=Zo\xc3\xab <&>");
    const Outcome outcome = form({settings, "--save", out(), "--set", nickname, "theme=1"});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
    QCOMPARE(contentOf(out()),
             QByteArray("<fieldlist>\n"
                        "  <field>\n"
                        "    <id>about</id>\n"
                        "  </field>\n"
                        "  <field maxlength=\"32\" type=\"lineedit\">\n"
                        "    <id>nickname</id>\n"
                        "    <string>Zo\xc3\xab &lt;&amp;&gt;</string>\n"
                        "  </field>\n"
                        "  <field type=\"textedit\">\n"
                        "    <id>signature</id>\n"
                        "    <string>Sent from\nmy garden</string>\n"
                        "  </field>\n"
                        "  <field>\n"
                        "    <id>picture</id>\n"
                        "  </field>\n"
                        "  <field checked=\"1\" type=\"radiobutton\">\n"
                        "    <id>online</id>\n"
                        "  </field>\n"
                        "  <field checked=\"0\" type=\"radiobutton\">\n"
                        "    <id>away</id>\n"
                        "  </field>\n"
                        "  <field checked=\"1\" type=\"checkbox\">\n"
                        "    <id>autoaway</id>\n"
                        "  </field>\n"
                        "  <field max=\"120\" min=\"1\" type=\"spinbox\" val=\"10\">\n"
                        "    <id>awayafter</id>\n"
                        "  </field>\n"
                        "  <field selectedindex=\"1\" type=\"combobox\">\n"
                        "    <id>theme</id>\n"
                        "    <string>light</string>\n"
                        "    <string>dark</string>\n"
                        "    <string>as the desktop</string>\n"
                        "  </field>\n"
                        "  <field max=\"1\" min=\"0\" type=\"doublespinbox\" val=\"0.5\">\n"
                        "    <id>volume</id>\n"
                        "  </field>\n"
                        "  <field>\n"
                        "    <id>greet</id>\n"
                        "  </field>\n"
                        "</fieldlist>\n"));
}

void MivoHostFormTest::whatIsSavedIsLoadedAgain()
{
    const QString text = QString::fromUtf8(" \n\t\r\n<&>\"' \xf0\x9f\x8c\xb7\n");
    Outcome saved = form({settings, "--set", "nickname=" + text, "signature=" + text,
                          "online=false", "--set", "away=true", "--set", "autoaway=false",
                          "awayafter=77", "theme=light", "--set", "volume=0.1", "--save", in()});
    QCOMPARE(saved.error, QString());
    QCOMPARE(saved.status, 0);
    QVERIFY(saved.out != form({settings}).out);

    const Outcome loaded = form({settings, "--load", in(), "--save", out()});
    QCOMPARE(loaded.error, QString());
    QCOMPARE(loaded.out, saved.out);
    QCOMPARE(contentOf(out()), contentOf(in()));

    // From and to one file.
    saved = form({settings, "--save", in(), "--load", in(), "--set", "nickname=Bob"});
    QCOMPARE(saved.error, QString());
    QCOMPARE(form({settings, "--load", in()}).out, saved.out);
    QVERIFY2(saved.out.contains("Nickname: \"Bob\""), qPrintable(saved.out));
    QVERIFY2(saved.out.contains("Minutes until away: 77"), qPrintable(saved.out));
}

void MivoHostFormTest::theFirstFieldOfAnIdIsTheOneThatCounts()
{
    Outcome outcome = form({oddForm, "--set", "twin=new", "--save", out()});
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("One: \"new\""), qPrintable(outcome.out));
    QVERIFY2(outcome.out.contains("Two: \"2\""), qPrintable(outcome.out));
    QCOMPARE(contentOf(out()).count("<id>twin</id>"), 1);
    outcome = form({oddForm, "--load", out()});
    QVERIFY2(outcome.out.contains("One: \"new\""), qPrintable(outcome.out));
    QVERIFY2(outcome.out.contains("Two: \"2\""), qPrintable(outcome.out));
}

void MivoHostFormTest::valuesAreLoadedThenSetThenSaved()
{
    write(in(),
          fieldList("<field type='combobox' selectedindex='1'><id>theme</id>"
                    "<string>blue</string><string>green</string></field>"
                    "<field type='spinbox' min='5' max='9' val='7'><id>awayafter</id>"
                    "</field>"));
    const Outcome outcome = form({settings, "--save", out(), "--set", "theme=blue", "awayafter=9",
                                  "awayafter=6", "--load", in()});
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("Theme: \"blue\" (combo box of \"blue\", \"green\")"),
             qPrintable(outcome.out));
    QVERIFY2(outcome.out.contains("away: 6 (spin box, 5 to 9)"), qPrintable(outcome.out));
    QVERIFY(contentOf(out()).contains("<field selectedindex=\"0\" type=\"combobox\">"));
    QVERIFY(contentOf(out()).contains("<field max=\"9\" min=\"5\" type=\"spinbox\" val=\"6\">"));

    const Outcome refused = form({settings, "--set", "awayafter=10", "--load", in()});
    QCOMPARE(refused.error,
             QString("mivo-host form: awayafter (spin box): found \"10\"; expected a whole number "
                     "from 5 to 9\n"));
}

void MivoHostFormTest::elementsThatFitNoFieldAreIgnored()
{
    write(in(),
          fieldList("<field type='lineedit'><id>nobody</id><string>x</string></field>"
                    "<field type='textedit'><id>nickname</id><string>x</string></field>"
                    "<field type='lineedit'><string>x</string></field>"
                    "<note><id>nickname</id></note>text"));
    const Outcome outcome = form({settings, "--load", in()});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.out, form({settings}).out);
    QCOMPARE(outcome.status, 0);
}

void MivoHostFormTest::aFileThatHoldsNoValuesIsRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("other root") << QByteArray("<settings/>")
                                << "line 1, column 11: found the root element \"settings\"; "
                                   "expected \"fieldlist\"\n";
    QTest::newRow("other root, further down")
        << QByteArray(
               "<?xml version='1.0'?>\n<!-- <fieldlist/> -->\n  <field\n a='b'><id/></field>")
        << "line 4, column 7: found the root element \"field\"; expected \"fieldlist\"\n";
    QTest::newRow("other root with a prefix")
        << QByteArray("<a:fieldlist/>")
        << "line 1, column 14: found the root element \"a:fieldlist\"; expected \"fieldlist\"\n";
    QTest::newRow("cut off") << QByteArray("<fieldlist>\n<field>") << "line 2, column 7: ";
    QTest::newRow("wrong end") << QByteArray("<fieldlist>\n\n </field>\n") << "line 3, column ";
    QTest::newRow("no XML") << QByteArray("nickname=Ann\n") << "line 1, column ";
    QTest::newRow("nothing") << QByteArray() << "line 1, column 1: ";
    QTest::newRow("document type")
        << QByteArray("<!DOCTYPE fieldlist>\n<fieldlist/>") << "line 1, column ";
    QTest::newRow("too deep") << fieldList('\n' + QByteArray("<a>").repeated(300)
                                           + QByteArray("</a>").repeated(300))
                              << "line 2, column 768: found an element at level 257, expected at "
                                 "most 256 levels";
    QTest::newRow("very deep") << fieldList(QByteArray("<a>").repeated(100000))
                               << "line 1, column ";
}

void MivoHostFormTest::aFileThatHoldsNoValuesIsRefused()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, sentence);
    write(in(), content);
    write(out(), "kept");
    const Outcome outcome = form({settings, "--load", in(), "--save", out()});
    const QString begin = "mivo-host form: " + in() + ": " + sentence;
    QVERIFY2(outcome.error.startsWith(begin), qPrintable(outcome.error));
    QCOMPARE(outcome.error.count('\n'), 1);
    QVERIFY(outcome.error.endsWith('\n'));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
    QCOMPARE(contentOf(out()), QByteArray("kept"));
    QCOMPARE(QDir(folder->path()).entryList(QDir::Files | QDir::Hidden),
             QStringList({"in.xml", "out.xml"}));
}

void MivoHostFormTest::aFileThatCannotBeReadIsRefused_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("why");
    QTest::newRow("missing") << "/no/such/file.xml"
                             << "No such file or directory";
    QTest::newRow("folder") << "/"
                            << "found a folder; expected a regular file\n";
    QTest::newRow("device") << "/dev/null"
                            << "found a device; expected a regular file\n";
    QTest::newRow("more than its limit") << bigFile()
                                         << "found more than 67108864 bytes; expected at most "
                                            "67108864\n";
}

void MivoHostFormTest::aFileThatCannotBeReadIsRefused()
{
    QFETCH(QString, file);
    QFETCH(QString, why);
    write(out(), "kept");
    const Outcome outcome = form({settings, "--load", file, "--save", out()});
    const QString begin = "mivo-host form: " + file + ": cannot be read: " + why;
    QVERIFY2(outcome.error.startsWith(begin), qPrintable(outcome.error));
    QCOMPARE(outcome.error.count('\n'), 1);
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
    QCOMPARE(contentOf(out()), QByteArray("kept"));
}

void MivoHostFormTest::aFileThatCannotBeWrittenIsReported_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("missing folder") << "/no/such/folder/out.xml";
    QTest::newRow("folder") << "/";
    QTest::newRow("device") << "/dev/null";
}

void MivoHostFormTest::aFileThatCannotBeWrittenIsReported()
{
    QFETCH(QString, file);
    const Outcome outcome = form({settings, "--save", file});
    const QString begin = "mivo-host form: " + file + ": cannot be written: ";
    QVERIFY2(outcome.error.startsWith(begin), qPrintable(outcome.error));
    QVERIFY2(outcome.error.size() > begin.size() + 5, qPrintable(outcome.error));
    QCOMPARE(outcome.error.count('\n'), 1);
    QCOMPARE(outcome.out, form({settings}).out);
    QCOMPARE(outcome.status, 1);
}

void MivoHostFormTest::aWriteThatFailsHalfwayKeepsTheFile()
{
    write(out(), "kept");
    // A limit of 1024 bytes for each file that is written; the signal would end the command first.
    const Outcome outcome
        = outcomeOf("sh",
                    {"-c", "trap '' XFSZ; ulimit -f 2; exec \"$@\"", "sh", MIVO_HOST, "form",
                     settings, "--set", "signature=" + QString(5000, 'x'), "--save", out()});
    QVERIFY2(outcome.error.startsWith("mivo-host form: " + out() + ": cannot be written: "),
             qPrintable(outcome.error));
    QCOMPARE(outcome.status, 1);
    QCOMPARE(contentOf(out()), QByteArray("kept"));
    QCOMPARE(QDir(folder->path()).entryList(QDir::Files | QDir::Hidden), QStringList("out.xml"));
}

void MivoHostFormTest::aFileThatIsNotRegularIsNeitherReadNorReplaced()
{
    QCOMPARE(::mkfifo(in().toUtf8().constData(), 0600), 0);
    Outcome outcome = form({settings, "--load", in()});
    QCOMPARE(outcome.error,
             "mivo-host form: " + in()
                 + ": cannot be read: found a FIFO; expected a regular file\n");
    QCOMPARE(outcome.status, 1);
    outcome = form({settings, "--save", in()});
    QCOMPARE(outcome.error,
             "mivo-host form: " + in()
                 + ": cannot be written: found a FIFO; expected a regular file\n");
    QCOMPARE(outcome.status, 1);
    struct stat found = {};
    QVERIFY(::stat(in().toUtf8().constData(), &found) == 0 && S_ISFIFO(found.st_mode));
}

void MivoHostFormTest::fileNamesNeedNotBeUtf8()
{
    const QString line = "cd \"$1\" && name=$'caf\\xe9 \\xff.xml' && "
                         "\"$2\" form \"$3\" --set nickname=Zoe --save \"$name\" >/dev/null && "
                         "cat \"$name\" >/dev/null && \"$2\" form --load=\"$name\" \"$3\" && "
                         "rm \"$name\" && \"$2\" form \"$3\" --load \"no such $name\"";
    const Outcome outcome
        = outcomeOf("bash", {"-c", line, "bash", folder->path(), MIVO_HOST, settings});
    QVERIFY2(outcome.out.contains("Nickname: \"Zoe\""), qPrintable(outcome.out));
    QCOMPARE(outcome.error,
             QString("mivo-host form: no such caf\\xe9 \\xff.xml: cannot be read: No such file or "
                     "directory\n"));
    QCOMPARE(outcome.status, 1);

    const Outcome plugin = outcomeOf("bash", {"-c", "\"$1\" form $'\\xe9.so'", "bash", MIVO_HOST});
    QCOMPARE(plugin.error,
             QString("mivo-host form: \\xe9.so: found a file name that is not UTF-8; expected one "
                     "that is, as plug-ins are loaded under such names alone\n"));
    QCOMPARE(plugin.status, 1);
    const Outcome value = outcomeOf(
        "bash", {"-c", "\"$1\" form \"$2\" --set nickname=$'\\xe9'", "bash", MIVO_HOST, settings});
    QVERIFY2(
        value.error.startsWith(
            "mivo-host form: --set: found nickname=... that is not UTF-8; expected ID=VALUE\n"),
        qPrintable(value.error));
    QCOMPARE(value.status, 2);
}

void MivoHostFormTest::nothingIsSavedWhenTheFormCannotBeShown()
{
    write(out(), "kept");
    const Outcome outcome = outcomeOf(
        "bash",
        {"-c", "\"$1\" form \"$2\" --save \"$3\" >/dev/full", "bash", MIVO_HOST, settings, out()});
    QCOMPARE(outcome.status, 1);
    QCOMPARE(contentOf(out()), QByteArray("kept"));
}

void MivoHostFormTest::nothingIsSavedWithoutThePlugin_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("missing") << QStringList("/no/such.so") << "/no/such.so: found no such file";
    QTest::newRow("unwilling") << QStringList(QString(FIXTURES) + "/unwilling.so")
                               << "UnwillingPlugin cannot be initialised: ";
    QTest::newRow("other missing") << QStringList({settings, "--with", echo, "/no/such.so"})
                                   << "/no/such.so: found no such file";
}

void MivoHostFormTest::nothingIsSavedWithoutThePlugin()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    const Outcome outcome = form(arguments + QStringList({"--save", out()}));
    QVERIFY2(outcome.error.startsWith("mivo-host form: " + sentence), qPrintable(outcome.error));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
    QVERIFY(!QFile::exists(out()));
}

void MivoHostFormTest::aClickedButtonRunsItsActionInTheOtherPlugin()
{
    const Outcome outcome = form({settings, "--with", echo, "--click", "greet", "--save", out()});
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("\n  greet      Greet the echo plug-in (button)\n"),
             qPrintable(outcome.out));
    QVERIFY2(outcome.out.contains("[main      ] clicked greet\n"), qPrintable(outcome.out));
    QCOMPARE(outcome.out.count("[dispatcher] delivered to echo\n"), 1);
    QCOMPARE(outcome.status, 0);
    QVERIFY(contentOf(out()).startsWith("<fieldlist>\n"));

    QCOMPARE(form({settings, "--with", echo, "--click", "greet", "greet"})
                 .out.count("[dispatcher] delivered to echo\n"),
             2);
    QVERIFY(!form({settings, "--with", echo}).out.contains("delivered"));
}

void MivoHostFormTest::aButtonWithoutAnActionIsHarmless()
{
    const Outcome outcome = form({settings, "--click", "greet"});
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.endsWith("[main      ] clicked greet: it has no action\n"),
             qPrintable(outcome.out));
    QCOMPARE(outcome.status, 0);
}

void MivoHostFormTest::nothingIsSavedWhenAClickFails_data()
{
    QTest::addColumn<QString>("plugin");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("error");
    QTest::addColumn<bool>("isShown");
    QTest::newRow("unknown") << settings << "greeet"
                             << "mivo-host form: found no field with the id \"greeet\"; expected "
                                "one of: greet\n"
                             << false;
    QTest::newRow("no button") << settings << "nickname"
                               << "mivo-host form: nickname (line edit): found a click; expected "
                                  "one on a button\n"
                               << false;
    QTest::newRow("the action throws") << oddForm << "fail"
                                       << "mivo-host: OddFormPlugin: an action failed: asked to "
                                          "fail\nmivo-host form: the action failed\n"
                                       << true;
}

void MivoHostFormTest::nothingIsSavedWhenAClickFails()
{
    QFETCH(QString, plugin);
    QFETCH(QString, id);
    QFETCH(QString, error);
    QFETCH(bool, isShown);
    write(out(), "kept");
    const Outcome outcome = form({plugin, "--click", id, "--save", out()});
    QCOMPARE(outcome.error, error);
    QCOMPARE(!outcome.out.isEmpty(), isShown);
    QCOMPARE(outcome.status, 1);
    QCOMPARE(contentOf(out()), QByteArray("kept"));
}

void MivoHostFormTest::wrongUsageShowsTheUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("nothing") << QStringList() << "found 0 arguments; expected FILE";
    QTest::newRow("option alone") << QStringList({"--set", "a=b"})
                                  << "found 0 arguments; expected FILE";
    QTest::newRow("another FILE") << QStringList({settings, echo})
                                  << "found 2 arguments; expected FILE";
    QTest::newRow("unknown option")
        << QStringList({settings, "--lod", "x"})
        << "found the option --lod; expected one of --load, --save, "
           "--with-secrets, --set, --click, --with, --json; the nearest is --load";
    QTest::newRow("load nothing") << QStringList({settings, "--load"})
                                  << "--load: found nothing; expected one XML file";
    QTest::newRow("load no name") << QStringList({settings, "--load", ""})
                                  << "--load: found an empty text; expected one XML file";
    QTest::newRow("load an option") << QStringList({settings, "--load", "--save", "x"})
                                    << "--load: found nothing; expected one XML file";
    QTest::newRow("load twice") << QStringList({settings, "--load", "a", "--load", "b"})
                                << "--load: found a and b; expected one XML file";
    QTest::newRow("save two") << QStringList({settings, "--save", "a", "b"})
                              << "found 2 arguments; expected FILE";
    QTest::newRow("set nothing") << QStringList({settings, "--set"})
                                 << "--set: found nothing; expected ID=VALUE";
    QTest::newRow("set without a value") << QStringList({settings, "--set", "a=b", "nickname"})
                                         << "--set: found nickname; expected ID=VALUE";
    QTest::newRow("click nothing") << QStringList({settings, "--click"})
                                   << "--click: found nothing; expected the ID of a button";
    QTest::newRow("with nothing") << QStringList({settings, "--with"})
                                  << "--with: found nothing; expected the FILE of a plug-in";
}

void MivoHostFormTest::wrongUsageShowsTheUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    const Outcome outcome = form(arguments);
    const QString begin = "mivo-host form: " + sentence
        + "\nusage: mivo-host form FILE [--load in.xml] [--save out.xml] [--with-secrets] "
          "[--set ID=VALUE...]";
    QVERIFY2(outcome.error.startsWith(begin), qPrintable(outcome.error));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 2);
}

QTEST_GUILESS_MAIN(MivoHostFormTest)
#include "tst_mivohost_form.moc"
