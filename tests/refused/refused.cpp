#include "MivoArg.h"
#include "MivoBuffer.h"

// Without a macro all of this compiles; with one, a single mistake is in it. Nothing of it is run.
// clazy:excludeall=non-pod-global-static

int run(const char*);
int print(const char*, ...);

#ifdef TEXT_LITERAL
const MivoArg arg("text");
#elif defined(TEXT_AS_ARGUMENT)
const QList<MivoArg> arguments = QList<MivoArg>() << "text";
#elif defined(FUNCTION)
const MivoArg arg(run);
#elif defined(VARIADIC_FUNCTION)
const MivoArg arg(print);
#elif defined(LAMBDA)
const MivoArg arg([] {});
#else
const MivoArg arg(QString("text"));
#endif

unsigned char bytes[5];

#ifdef BUFFER_OF_UNKNOWN_OWNER
MivoBuffer buffer(5, bytes);
#else
MivoBuffer buffer(5, bytes, false);
#endif
