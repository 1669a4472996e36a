// Reads any bytes as a value of the command line. Whatever stands there, the answer is a value of the
// named kind or an error with a place in the text.
#include "FuzzTarget.h"

#include "ValueText.h"

#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QString text
        = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
    std::unique_ptr<MivoArg> value;
    int position = 0;
    requireFewAllocations(size, 1000, 20, [&] {
        try {
            value.reset(new MivoArg(valueFromText(text)));
        } catch (const ValueTextError& error) {
            position = error.position();
        }
    });
    if (!value) {
        require(position >= 1 && position <= int(text.size()) + 1, "the place is in the text");
        return 0;
    }
    const QString kind = text.section(QLatin1Char(':'), 0, 0);
    require(valueKinds().contains(kind), "a value has a kind with a name");
    require((value->getType() == MivoArg::None) == (kind == QLatin1String("none")),
            "only none is empty");
    require(value->getType() == valueFromText(text).getType(), "a text is always of one kind");
    return 0;
}
