// Makes one table, one JSON file or one plot of what the benchmark programs have written.

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

/** What figures of a row are divided by for the eye, and what that is called. */
struct Scale
{
    double unit;
    const char* name;
};

Scale scaleOf(const QString& unit, double amount)
{
    static const Scale times[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    static const Scale bytes[] = {{1048576, "MiB"}, {1024, "KiB"}, {1, "B"}};
    if (unit == "B") {
        for (const Scale& scale : bytes) {
            if (amount >= 10 * scale.unit)
                return scale;
        }
        return bytes[2];
    }
    for (const Scale& scale : times) {
        if (amount >= scale.unit)
            return scale;
    }
    return times[3];
}

QString nameOf(const QJsonObject& row)
{
    const QString name = row["name"].toString();
    return row.contains("size") ? QString("%1, %L2").arg(name).arg(row["size"].toInt()) : name;
}

/** The two figures of a side that are shown: the minimum or the median. */
double figureOf(const QJsonObject& row, const char* side, const char* which = "minimum")
{
    return row[side].toObject()[which].toDouble();
}

/** A ratio counts as it is printed, with two decimals. */
double ratioOf(const QJsonObject& row)
{
    return std::round(100 * figureOf(row, "ours") / figureOf(row, "peer")) / 100;
}

enum class Verdict { None, Met, Missed };

Verdict verdictOf(const QJsonObject& row)
{
    bool met = true;
    if (row.contains("goal") && row.contains("peer"))
        met = ratioOf(row) <= row["goal"].toDouble();
    else if (row.contains("atMost"))
        met = figureOf(row, "ours") <= row["atMost"].toDouble();
    else
        return Verdict::None;
    return met ? Verdict::Met : Verdict::Missed;
}

/** Whether repetitions differ so much that something else was running. */
bool isUnsteady(const QJsonObject& row)
{
    for (const char* side : {"ours", "peer"}) {
        if (row.contains(side) && figureOf(row, side, "median") > 1.25 * figureOf(row, side))
            return true;
    }
    return false;
}

void printTable(QTextStream& out, const QJsonObject& context, const QJsonArray& rows)
{
    int width = 10;
    for (const auto& row : rows)
        width = std::max(width, int(nameOf(row.toObject()).size()));

    out << "Qt " << context["qt"].toString() << ", compiler " << context["compiler"].toString()
        << ", " << context["processors"].toInt() << " x " << context["processor"].toString()
        << ", load " << QString::number(context["load"].toDouble(), 'f', 1) << " at the beginning";
    if (context.contains("revision"))
        out << ", revision " << context["revision"].toString();
    out << "\nTime is CPU time of an operation; ratios are of minima.\n\n";

    const auto cell = [](const QString& text, int size) { return text.rightJustified(size); };
    out << QString("operation").leftJustified(width) << cell("unit", 6) << cell("ours", 10)
        << cell("median", 10) << cell("peer", 10) << cell("median", 10) << cell("limit", 10)
        << cell("ratio", 8) << cell("goal", 8) << "            peer (limit)\n";
    out << QString(width + 120, '-') << '\n';

    int met = 0;
    QStringList missed;
    bool unsteady = false;
    for (const auto& element : rows) {
        const QJsonObject row = element.toObject();
        const bool hasPeer = row.contains("peer");
        const bool hasLimit = row.contains("limit");
        double least = figureOf(row, "ours");
        if (hasPeer)
            least = std::min(least, figureOf(row, "peer"));
        const Scale scale = scaleOf(row["unit"].toString(), least);
        const auto amount
            = [&](double value) { return QString::number(value / scale.unit, 'f', 2); };
        const Verdict verdict = verdictOf(row);
        met += verdict == Verdict::Met;
        if (verdict == Verdict::Missed)
            missed.append(nameOf(row));

        QString goal;
        if (row.contains("goal"))
            goal = QString::number(row["goal"].toDouble(), 'f', 2);
        else if (row.contains("atMost"))
            goal = amount(row["atMost"].toDouble());
        QString mark
            = verdict == Verdict::Missed ? "MISSED" : (verdict == Verdict::Met ? "met" : "");
        if (isUnsteady(row)) {
            mark += '~';
            unsteady = true;
        }
        QString peers = row["peer"].toObject()["what"].toString();
        if (hasLimit)
            peers += QString(" (%1)").arg(row["limit"].toObject()["what"].toString());

        out << nameOf(row).leftJustified(width) << cell(scale.name, 6)
            << cell(amount(figureOf(row, "ours")), 10)
            << cell(amount(figureOf(row, "ours", "median")), 10)
            << cell(hasPeer ? amount(figureOf(row, "peer")) : QString("-"), 10)
            << cell(hasPeer ? amount(figureOf(row, "peer", "median")) : QString("-"), 10)
            << cell(hasLimit ? amount(figureOf(row, "limit")) : QString("-"), 10)
            << cell(hasPeer ? QString::number(ratioOf(row), 'f', 2) : QString("-"), 8)
            << cell(goal.isEmpty() ? QString("-") : goal, 8) << "  " << mark.leftJustified(8)
            << peers << '\n';
    }
    out << '\n' << met << " goals met, " << missed.size() << " missed";
    if (!missed.isEmpty())
        out << ": " << missed.join("; ");
    out << ".\n";
    if (unsteady)
        out << "~ the median is more than a quarter above the minimum: something else was "
               "running.\n";
    if (!context["release"].toBool())
        out << "THIS IS NOT A RELEASE BUILD: the figures say nothing.\n";
}

/** A gnuplot program that draws all rows with several sizes to the picture @p file. */
void printPlot(QTextStream& out, const QString& file, const QJsonArray& rows)
{
    QStringList names;
    QString data;
    for (const auto& element : rows) {
        const QJsonObject row = element.toObject();
        if (!row.contains("size") || !row.contains("per"))
            continue;
        const bool isBytes = row["unit"].toString() == "B";
        const double unit = isBytes ? 1 : 1e-9;
        const QString name
            = QString("%1 [%2 per %3]")
                  .arg(row["name"].toString(), isBytes ? "B" : "ns", row["per"].toString());
        if (!names.contains(name)) {
            if (!names.isEmpty())
                data += "EOD\n";
            data += QString("$row%1 << EOD\n").arg(names.size());
            names.append(name);
        }
        data += QString("%1 %2 %3\n")
                    .arg(row["size"].toInt())
                    .arg(figureOf(row, "ours") / unit)
                    .arg(row.contains("peer") ? QString::number(figureOf(row, "peer") / unit)
                                              : "NaN");
    }
    if (names.isEmpty()) {
        std::fprintf(stderr, "there is no row with sizes to plot\n");
        std::exit(1);
    }
    const int columns = names.size() > 1 ? 2 : 1;
    const int lines = (int(names.size()) + columns - 1) / columns;
    out << data << "EOD\n"
        << "set terminal pngcairo size " << 560 * columns << ',' << 340 * lines
        << " font 'Sans,9'\n"
        << "set output '" << QString(file).replace('\'', "''") << "'\n"
        << "set multiplot layout " << lines << ',' << columns << "\n"
        << "set logscale x\nset format x '%.0s%c'\nset yrange [0:*]\nset grid\nset key bottom "
           "right\n"
        << "set style data linespoints\n";
    for (int i = 0; i < names.size(); ++i)
        out << "set title '" << QString(names[i]).replace('\'', "''") << "'\n"
            << "plot $row" << i << " using 1:2 title 'ours' lw 2 pt 7, $row" << i
            << " using 1:3 title 'peer' lw 2 pt 5\n";
    out << "unset multiplot\n";
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("Prints the table of what benchmark programs have written.");
    parser.addHelpOption();
    parser.addPositionalArgument("files", "JSON of the programs.", "FILE...");
    parser.addOptions({{"json", "Write all of it to <file>.", "file"},
                       {"revision", "What was measured.", "text"},
                       {"gnuplot", "Print a gnuplot program that draws <picture>.", "picture"}});
    parser.process(application);

    QJsonObject context;
    QJsonArray rows;
    for (const QString& name : parser.positionalArguments()) {
        QFile file(name);
        QJsonObject read;
        if (file.open(QIODevice::ReadOnly))
            read = QJsonDocument::fromJson(file.readAll()).object();
        if (!read.contains("rows")) {
            std::fprintf(stderr, "%s: cannot be read, or holds no figures\n", qPrintable(name));
            return 1;
        }
        if (context.isEmpty())
            context = read["context"].toObject();
        for (const auto& row : read["rows"].toArray())
            rows.append(row);
    }
    if (parser.isSet("revision"))
        context["revision"] = parser.value("revision");

    if (parser.isSet("json")) {
        QFile file(parser.value("json"));
        const QByteArray text
            = QJsonDocument(QJsonObject{{"context", context}, {"rows", rows}}).toJson();
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            std::fprintf(stderr, "cannot write %s: %s\n", qPrintable(file.fileName()),
                         qPrintable(file.errorString()));
            return 1;
        }
    }
    if (rows.isEmpty()) {
        std::fprintf(stderr, "nothing was measured: no operation's name matches\n");
        return 1;
    }
    QTextStream out(stdout);
    if (parser.isSet("gnuplot"))
        printPlot(out, parser.value("gnuplot"), rows);
    else
        printTable(out, context, rows);
    return 0;
}
