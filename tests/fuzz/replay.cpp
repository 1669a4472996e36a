// Runs a fuzzer over the files of the folders and the files that are its arguments.
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size);

int main(int argc, char** argv)
{
    QStringList files;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QFile::decodeName(argv[i]);
        if (!QFileInfo(argument).isDir()) {
            files << argument;
            continue;
        }
        const QDir folder(argument);
        const QStringList names = folder.entryList(QDir::Files, QDir::Name);
        for (const QString& name : names)
            files << folder.filePath(name);
    }
    if (files.isEmpty()) {
        std::fprintf(stderr, "no files\n");
        return 1;
    }
    for (const QString& name : files) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot read %s\n", qPrintable(name));
            return 1;
        }
        // Before the run, so that the last line names the file that ends it.
        std::printf("%s\n", qPrintable(name));
        std::fflush(stdout);
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(bytes.constData()),
                               static_cast<size_t>(bytes.size()));
    }
    return 0;
}
