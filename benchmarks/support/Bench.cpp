// The main function of all benchmark programs: runs the rows and writes the figures as JSON.

#include "Bench.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

std::deque<Row>& rows()
{
    static std::deque<Row> rows;
    return rows;
}

/** Amounts of one side, one for each repetition. */
typedef std::map<std::string, std::vector<double>> Amounts;

/** Keeps what Google Benchmark has measured; benchmarks are named ROW/SIDE or ROW/SIDE/SIZE. */
class Collector : public benchmark::BenchmarkReporter
{
public:
    explicit Collector(const Row& measuredRow)
        : row(measuredRow)
    {
    }

    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred)
                error = run.benchmark_name() + ": " + run.error_message;
            else if (run.run_type == Run::RT_Iteration)
                amounts[side(run)].push_back(amount(run));
        }
    }

    Amounts amounts;
    std::string error;

private:
    static std::string side(const Run& run)
    {
        const std::string& name = run.run_name.function_name;
        return name.substr(name.find('/') + 1);
    }

    double amount(const Run& run) const
    {
        if (row.count == Counted::Bytes) {
            const auto found = run.counters.find("bytes");
            return found == run.counters.end() ? 0 : found->second.value;
        }
        const double seconds
            = row.count == Counted::OwnTime ? run.real_accumulated_time : run.cpu_accumulated_time;
        return seconds / double(run.iterations);
    }

    const Row& row;
};

struct Options
{
    bool briefly;
    int repetitions;
    QRegularExpression filter;
};

/** Measures a row at one size (-1: it has none); empty when that has failed. */
QJsonObject measured(const Row& row, long size, const Options& options)
{
    static int number = 0;
    const std::string prefix = std::to_string(++number) + '/';
    for (const Row::Side& side : row.sides) {
        auto* one = benchmark::RegisterBenchmark((prefix + side.key).c_str(), side.function);
        if (size >= 0)
            one->Arg(size);
        if (row.count == Counted::ProcessTime)
            one->MeasureProcessCPUTime();
        else if (row.count == Counted::OwnTime)
            one->UseManualTime();
        if (options.briefly || row.count == Counted::Bytes)
            one->Iterations(1);
        if (options.briefly)
            one->Repetitions(1);
        else
            one->Repetitions(row.repetitionNumber ? row.repetitionNumber : options.repetitions);
    }
    Collector collector(row);
    benchmark::RunSpecifiedBenchmarks(&collector, '^' + prefix);

    const double divisor = row.item.empty() ? 1 : double(size);
    QJsonObject result{{"name", QString::fromStdString(row.name)},
                       {"unit", row.count == Counted::Bytes ? "B" : "s"}};
    if (size >= 0)
        result["size"] = double(size);
    if (!row.item.empty())
        result["per"] = QString::fromStdString(row.item);
    if (row.ratioGoal > 0)
        result["goal"] = row.ratioGoal;
    if (row.amountGoal > 0)
        result["atMost"] = row.amountGoal;
    for (const Row::Side& side : row.sides) {
        std::vector<double> amounts = collector.amounts[side.key];
        std::sort(amounts.begin(), amounts.end());
        if (collector.error.empty() && (amounts.empty() || (!options.briefly && amounts[0] <= 0)))
            collector.error = std::string(side.key) + ": nothing was counted";
        if (!collector.error.empty()) {
            std::fprintf(stderr, "%s: %s\n", row.name.c_str(), collector.error.c_str());
            return {};
        }
        QJsonArray values;
        for (double& amount : amounts)
            values.append(amount /= divisor);
        const std::size_t middle = amounts.size() / 2;
        const double median
            = amounts.size() % 2 ? amounts[middle] : (amounts[middle - 1] + amounts[middle]) / 2;
        result[side.key] = QJsonObject{{"what", QString::fromStdString(side.what)},
                                       {"minimum", amounts.front()},
                                       {"median", median},
                                       {"values", values}};
    }
    return result;
}

QString firstLine(const char* file, const char* beginning)
{
    QFile opened(file);
    if (opened.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = opened.readAll().split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith(beginning))
                return QString::fromLocal8Bit(line.mid(line.indexOf(':') + 1).trimmed());
        }
    }
    return QString();
}

/** What the figures depend on. */
QJsonObject context()
{
#if defined(NDEBUG) && defined(__OPTIMIZE__)
    const bool release = true;
#else
    const bool release = false;
#endif
    double load = 0;
    getloadavg(&load, 1);
    return {{"processor", firstLine("/proc/cpuinfo", "model name")},
            {"processors", int(sysconf(_SC_NPROCESSORS_ONLN))},
            {"load", load},
            {"qt", qVersion()},
            {"compiler", __VERSION__},
            {"release", release}};
}

int fieldOfStatus(const char* name)
{
    return firstLine("/proc/self/status", name).section(' ', 0, 0).toInt(); // in KiB
}

} // namespace

Row& row(std::string name)
{
    rows().emplace_back(std::move(name));
    return rows().back();
}

Row& Row::ours(Function function)
{
    sides.push_back({"ours", std::string(), std::move(function)});
    return *this;
}

Row& Row::peer(std::string what, Function function)
{
    sides.push_back({"peer", std::move(what), std::move(function)});
    return *this;
}

Row& Row::limit(std::string what, Function function)
{
    sides.push_back({"limit", std::move(what), std::move(function)});
    return *this;
}

Row& Row::goal(double ratio)
{
    ratioGoal = ratio;
    return *this;
}

Row& Row::atMost(double amount)
{
    amountGoal = amount;
    return *this;
}

Row& Row::counted(Counted what)
{
    count = what;
    return *this;
}

Row& Row::sizes(std::vector<long> sizes)
{
    sizeList = std::move(sizes);
    return *this;
}

Row& Row::per(std::string newItem)
{
    item = std::move(newItem);
    return *this;
}

Row& Row::repetitions(int number)
{
    repetitionNumber = number;
    return *this;
}

Row& Row::notBriefly()
{
    brief = false;
    return *this;
}

double heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks) + double(info.hblkhd);
}

double peakBytes(const std::function<void()>& call)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return 0;
    const pid_t child = fork();
    if (child == 0) {
        malloc_trim(0);
        // The kernel forgets the highest mark of memory in use when told so.
        QFile forget("/proc/self/clear_refs");
        double bytes = 0;
        if (forget.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && forget.write("5") == 1) {
            const int before = fieldOfStatus("VmHWM");
            call();
            bytes = 1024.0 * (fieldOfStatus("VmHWM") - before);
        }
        _exit(write(ends[1], &bytes, sizeof bytes) == sizeof bytes ? 0 : 1);
    }
    close(ends[1]);
    double bytes = 0;
    if (child < 0 || read(ends[0], &bytes, sizeof bytes) != sizeof bytes)
        bytes = 0;
    close(ends[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    return bytes;
}

double childSeconds(const std::vector<std::string>& command)
{
    std::vector<char*> arguments(command.size() + 1, nullptr);
    std::transform(command.begin(), command.end(), arguments.begin(),
                   [](const std::string& argument) {
                       return const_cast<char*>(argument.c_str()); // as execvp() wants it
                   });

    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    struct rusage usage
    {
    };
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
        return -1;
    const auto seconds
        = [](const timeval& time) { return double(time.tv_sec) + 1e-6 * double(time.tv_usec); };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace bench

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("Measures the library beside its peers; see ./bench --help.");
    parser.addHelpOption();
    parser.addOptions({{"json", "Write the figures to <file>.", "file"},
                       {"filter", "Only rows whose name contains a match of <regex>.", "regex"},
                       {"repetitions", "Measure each side <number> times.", "number", "9"},
                       {"briefly", "Run each side once; the figures mean nothing."}});
    parser.process(application);
    const bench::Options options{
        parser.isSet("briefly"), parser.value("repetitions").toInt(),
        QRegularExpression(parser.value("filter"), QRegularExpression::CaseInsensitiveOption)};
    if (options.repetitions < 1 || !options.filter.isValid()) {
        std::fprintf(stderr,
                     "--repetitions takes a number from 1, --filter a regular expression\n");
        return 2;
    }

    std::array<char, 8> program{"bench"};
    std::array<char, 48> interleave{"--benchmark_enable_random_interleaving=true"};
    std::array<char, 32> time{"--benchmark_min_time=0.05"};
    std::array<char*, 4> flags{program.data(), interleave.data(), time.data(), nullptr};
    int flagNumber = 3;
    benchmark::Initialize(&flagNumber, flags.data());
    const QJsonObject context = bench::context();

    addRows();
    std::vector<const bench::Row*> wanted;
    for (const bench::Row& row : bench::rows()) {
        if ((row.brief || !options.briefly)
            && options.filter.match(QString::fromStdString(row.name)).hasMatch())
            wanted.push_back(&row);
    }
    QJsonArray results;
    bool failed = false;
    int number = 0;
    for (const bench::Row* row : wanted) {
        std::vector<long> sizes = row->sizeList.empty() ? std::vector<long>{-1} : row->sizeList;
        if (options.briefly)
            sizes.resize(1);
        ++number;
        for (const long size : sizes) {
            std::fprintf(stderr, "  %*d of %zu  %s", wanted.size() < 10 ? 1 : 2, number,
                         wanted.size(), row->name.c_str());
            std::fprintf(stderr, size < 0 ? "\n" : ", %ld\n", size);
            const QJsonObject result = measured(*row, size, options);
            failed = failed || result.isEmpty();
            if (!result.isEmpty())
                results.append(result);
        }
    }

    if (parser.isSet("json")) {
        QFile file(parser.value("json"));
        const QByteArray text
            = QJsonDocument(QJsonObject{{"context", context}, {"rows", results}}).toJson();
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            std::fprintf(stderr, "cannot write %s: %s\n", qPrintable(file.fileName()),
                         qPrintable(file.errorString()));
            return 1;
        }
    }
    return failed ? 1 : 0;
}
