// Reads any bytes as the stamp of a plug-in: as the text in a shared object, and behind the mark of such
// a text, and as the metadata that Qt has read. Whatever stands there, a stamp fits or says why it does
// not, and one that fits has nothing empty in it.
#include "FuzzFile.h"

#include "MivoPluginStamp.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

void check(const MivoPluginStamp& stamp)
{
    if (!stamp.misfit().isEmpty())
        return;
    const QStringList required = stamp.requirements();
    for (const QString& name : required)
        require(!name.isEmpty(), "what is required has a name");
    require(stamp.misfit() == MivoPluginStamp(stamp).misfit(), "a copy fits as well");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QByteArray marked = "\nmivo plug-in stamp\n" + bytes + '\0';
    for (const QByteArray& content : {bytes, marked}) {
        const FuzzFile file(reinterpret_cast<const unsigned char*>(content.constData()),
                            size_t(content.size()));
        requireFewAllocations(size, 300, 20,
                              [&] { check(MivoPluginStamp::fromText(file.name())); });
    }
    const QVariantMap metaData = QJsonDocument::fromJson(bytes).object().toVariantMap();
    requireFewAllocations(size, 300, 20, [&] { check(MivoPluginStamp::fromMetaData(metaData)); });
    return 0;
}
