// pkiui-dump: prints the detail rows of every certificate in the files, as the
// viewer's detail tab lists them, for reading in a terminal or as JSON.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "dump_text.hpp"
#include "pkiui/detail_model.hpp"
#include "tavik_ptr.hpp"

namespace {

using namespace pkiui::dump;

constexpr const char *kUsage =
    "usage: pkiui-dump [--json] [--filter N] FILE...\n"
    "\n"
    "Prints the detail rows of every certificate in each FILE (DER, or PEM with\n"
    "one or more certificates), in the order the viewer's detail tab lists them.\n"
    "\n"
    "  --filter N  keep only the rows of one kind, as the tab's filter does:\n"
    "              0 all (default), 1 version-1 fields, 2 extensions,\n"
    "              3 critical extensions, 4 TAVIK extensions, 5 attributes\n"
    "  --json      one JSON array with an object per certificate:\n"
    "              {\"file\": F, \"index\": K, \"rows\": [{\"name\", \"value\",\n"
    "              \"content\", \"type\"}, ...]}; \"index\" (from 1) only when\n"
    "              the file holds several certificates. Texts keep every byte\n"
    "              (\"\\r\\n\" stays \\r\\n); bytes that are not UTF-8 become U+FFFD.\n"
    "  -h, --help  this text\n"
    "\n"
    "The text form shows each row as its name, a tab and its value, then the\n"
    "kind (a number and its bits) and the content, its line breaks kept.\n"
    "Control characters are shown as \\xNN and bytes that are not UTF-8 as U+FFFD.\n"
    "\n"
    "Exit status: 0 every file decoded, 1 a file could not be read or held no\n"
    "certificate, 2 bad usage, 3 toolkit objects left alive (a bug).\n";

struct Options {
    bool json = false;
    int filter = 0;
    std::vector<const char *> files;
};

// ---- Output ----

struct CertRef {
    const char *file;
    int index; // from 1
    int count; // certificates in the file
};

void printText(const CertRef &ref, const pkiui::ShowCertDetailDlgModel &model)
{
    std::string out = "=== " + terminalText(ref.file);
    if (ref.count > 1)
        out += " #" + std::to_string(ref.index) + " of " + std::to_string(ref.count);
    const int rows = model.numberOfRows();
    out += " (" + std::to_string(rows) + (rows == 1 ? " row" : " rows") + ") ===\n";
    for (int r = 0; r < model.numberOfRows(); ++r) {
        const pkiui::CertDetailInfoItem *row = model.rowAt(r);
        if (!row)
            continue;
        out += terminalText(row->name) + "\t" + terminalText(row->value) + "\n";
        out += "    kind " + kindText(row->type) + "\n";
        for (std::string_view line : contentLines(row->content))
            out += "    | " + terminalText(line) + "\n";
    }
    out += "\n";
    std::fputs(out.c_str(), stdout);
}

void printJson(const CertRef &ref, const pkiui::ShowCertDetailDlgModel &model, bool first)
{
    std::string out = first ? "" : ",\n";
    out += "{\"file\": " + jsonString(ref.file);
    if (ref.count > 1)
        out += ", \"index\": " + std::to_string(ref.index);
    out += ", \"rows\": [";
    bool firstRow = true;
    for (int r = 0; r < model.numberOfRows(); ++r) {
        const pkiui::CertDetailInfoItem *row = model.rowAt(r);
        if (!row)
            continue;
        out += firstRow ? "\n  " : ",\n  ";
        firstRow = false;
        out += "{\"name\": " + jsonString(row->name) + ", \"value\": " + jsonString(row->value) +
               ", \"content\": " + jsonString(row->content) +
               ", \"type\": " + std::to_string(row->type) + "}";
    }
    out += firstRow ? "]}" : "\n]}";
    std::fputs(out.c_str(), stdout);
}

// ---- Files ----

// Why a file yields no certificate, for the one-line error.
std::string unreadableReason(const char *path)
{
    constexpr off_t kMaxSize = 64 * 1024 * 1024; // the toolkit's limit
    struct stat st {};
    if (::stat(path, &st) != 0)
        return errno == ENOENT ? "no such file"
                               : std::string("cannot read: ") + std::strerror(errno);
    if (S_ISDIR(st.st_mode))
        return "is a directory";
    if (std::FILE *f = std::fopen(path, "rb"))
        std::fclose(f);
    else
        return std::string("cannot read: ") + std::strerror(errno);
    if (st.st_size > kMaxSize)
        return "too large (over 64 MiB)";
    return "no certificate in it";
}

// Prints every certificate of the file; false when it holds none.
bool dumpFile(const char *path, const Options &options, bool &firstJson)
{
    tavik::CertPath certs;
    const int rc = TavikPKICertNewAllFromFile(path, certs.outCerts(), certs.outCount());
    if (rc != 1 || certs.size() == 0) {
        std::fflush(stdout); // keep the error in its place when both go to one file
        std::fprintf(stderr, "pkiui-dump: %s: %s\n", terminalText(path).c_str(),
                     unreadableReason(path).c_str());
        return false;
    }
    bool ok = true;
    for (int i = 0; i < certs.size(); ++i) {
        const CertRef ref{path, i + 1, certs.size()};
        pkiui::ShowCertDetailDlgModel model;
        if (!model.setCertHandle(certs[i])) {
            std::fprintf(stderr, "pkiui-dump: %s #%d: cannot decode the certificate\n",
                         terminalText(path).c_str(), i + 1);
            ok = false;
            continue;
        }
        model.switchToIndex(options.filter);
        if (options.json) {
            printJson(ref, model, firstJson);
            firstJson = false;
        } else {
            printText(ref, model);
        }
    }
    return ok;
}

enum class Parse { Run, Help, Bad };

Parse parseArgs(int argc, char **argv, Options &options)
{
    bool optionsDone = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (optionsDone || arg.empty() || arg[0] != '-') {
            options.files.push_back(argv[i]);
        } else if (arg == "--") {
            optionsDone = true;
        } else if (arg == "-h" || arg == "--help") {
            return Parse::Help;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--filter" || arg.rfind("--filter=", 0) == 0) {
            std::string_view value;
            if (arg == "--filter") {
                if (i + 1 >= argc)
                    return Parse::Bad;
                value = argv[++i];
            } else {
                value = arg.substr(std::strlen("--filter="));
            }
            if (value.size() != 1 || value[0] < '0' || value[0] > '5')
                return Parse::Bad;
            options.filter = value[0] - '0';
        } else {
            return Parse::Bad;
        }
    }
    return options.files.empty() ? Parse::Bad : Parse::Run;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    switch (parseArgs(argc, argv, options)) {
    case Parse::Help:
        std::fputs(kUsage, stdout);
        return 0;
    case Parse::Bad:
        std::fputs(kUsage, stderr);
        return 2;
    case Parse::Run:
        break;
    }

    bool ok = true;
    bool firstJson = true;
    if (options.json)
        std::fputs("[\n", stdout);
    for (const char *file : options.files)
        ok = dumpFile(file, options, firstJson) && ok;
    if (options.json)
        std::fputs(firstJson ? "]\n" : "\n]\n", stdout);

    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "pkiui-dump: cannot write the output: %s\n", std::strerror(errno));
        return 1;
    }
    if (const long live = tavik_debug_live_objects(); live != 0) {
        std::fprintf(stderr, "pkiui-dump: %ld toolkit objects still alive after decoding (a bug)\n",
                     live);
        return 3;
    }
    return ok ? 0 : 1;
}
