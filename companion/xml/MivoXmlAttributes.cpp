#include "MivoXmlAttributes_p.h"

#include <algorithm>
#include <iterator>

namespace {

const size_t maxRun = 64;

bool isBefore(const MivoXmlAttributes::Attribute& attribute, const QString& name)
{
    return attribute.name < name;
}

} // namespace

QString MivoXmlAttributes::value(const QString& name) const
{
    if (runs.empty())
        return QString();
    const Run& run = runs[runOf(name)];
    const Run::const_iterator found = std::lower_bound(run.begin(), run.end(), name, isBefore);
    return found != run.end() && found->name == name ? found->value : QString();
}

void MivoXmlAttributes::set(QString name, QString value)
{
    reserve(1);
    const size_t index = runOf(name);
    Run& run = runs[index];
    const Run::iterator found = std::lower_bound(run.begin(), run.end(), name, isBefore);
    if (found != run.end() && found->name == name) {
        found->value = std::move(value);
    } else if (run.size() < maxRun) {
        run.insert(found, Attribute{std::move(name), std::move(value)});
    } else {
        split(index);
        set(std::move(name), std::move(value));
    }
}

void MivoXmlAttributes::reserve(int count)
{
    if (!runs.empty() || count == 0)
        return;
    Run first;
    first.reserve(std::min(maxRun, static_cast<size_t>(count)));
    runs.push_back(std::move(first));
}

/** The index of the run in which the attribute @p name is or would be. */
size_t MivoXmlAttributes::runOf(const QString& name) const
{
    // The first one takes all that stand before it too.
    const auto isBehind = [](const QString& text, const Run& run) { return text < run[0].name; };
    return static_cast<size_t>(std::upper_bound(runs.begin() + 1, runs.end(), name, isBehind)
                               - runs.begin() - 1);
}

/** Gives the second half of a full run to one of its own. */
void MivoXmlAttributes::split(size_t index)
{
    const Run::difference_type half = maxRun / 2;
    Run second;
    second.reserve(maxRun);
    runs.insert(runs.begin() + static_cast<std::ptrdiff_t>(index) + 1, std::move(second));
    // From here on nothing takes memory.
    Run& full = runs[index];
    std::move(full.begin() + half, full.end(), std::back_inserter(runs[index + 1]));
    full.erase(full.begin() + half, full.end());
}
