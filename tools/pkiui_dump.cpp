// pkiui-dump: prints the detail rows of every certificate in the files, as the
// viewer's detail tab lists them, or what its general and path tabs show, for
// reading in a terminal or as JSON.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "dump_text.hpp"
#include "pkiui/detail_model.hpp"
#include "pkiui/path_model.hpp"
#include "pkiui/routine_model.hpp"
#include "tavik_ptr.hpp"

namespace {

using namespace pkiui::dump;

constexpr const char *kUsage =
    "usage: pkiui-dump [--json] [--filter N | --general | --path] [--trust "
    "F]...\n"
    "                  [--untrusted F]... FILE...\n"
    "\n"
    "Prints the detail rows of every certificate in each FILE (DER, or PEM "
    "with\n"
    "one or more certificates), in the order the viewer's detail tab lists "
    "them,\n"
    "or what the viewer's general or certification path tab shows of it.\n"
    "\n"
    "  --filter N     keep only the rows of one kind, as the tab's filter "
    "does:\n"
    "                 0 all (default), 1 version-1 fields, 2 extensions,\n"
    "                 3 critical extensions, 4 TAVIK extensions, 5 attributes\n"
    "  --general      the general tab: verdict, issued to, issued by, "
    "validity,\n"
    "                 certificate type\n"
    "  --path         the certification path tab: the path root first, "
    "indented\n"
    "                 as listed, each with its status; then the status field "
    "as\n"
    "                 first shown (the certificate itself selected).\n"
    "                 --general and --path may be given together; either "
    "replaces\n"
    "                 the detail rows\n"
    "  --trust F      every certificate in file F is a trust anchor\n"
    "  --untrusted F  every certificate in file F may complete a path, "
    "untrusted.\n"
    "                 The system's anchors take part too; FILE itself does "
    "not\n"
    "  --json         one JSON array with an object per certificate:\n"
    "                 {\"file\": F, \"index\": K, \"rows\": [{\"name\", "
    "\"value\",\n"
    "                 \"content\", \"type\"}, ...]}; \"index\" (from 1) only "
    "when\n"
    "                 the file holds several certificates. --general puts\n"
    "                 \"general\": {\"verdict\", \"status\", \"subject\", "
    "\"issuer\",\n"
    "                 \"validity\", \"type\"} and --path \"path\": "
    "{\"selected\",\n"
    "                 \"status\", \"rows\": [{\"text\", \"name\", \"status\",\n"
    "                 \"statusText\"}, ...]} in place of \"rows\". Texts keep "
    "every\n"
    "                 byte (\"\\r\\n\" stays \\r\\n, tabs \\t); bytes that are "
    "not UTF-8\n"
    "                 become U+FFFD.\n"
    "  -h, --help     this text\n"
    "\n"
    "The text form shows each detail row as its name, a tab and its value, "
    "then\n"
    "the kind (a number and its bits) and the content, its line breaks kept; "
    "a\n"
    "general tab as its title, verdict and \"caption<TAB>value\" lines; a "
    "path\n"
    "as its rows (tabs and \"|- \" as listed), a tab and the status text.\n"
    "Control characters are shown as \\xNN and bytes that are not UTF-8 as "
    "U+FFFD.\n"
    "\n"
    "Exit status: 0 every file decoded, 1 a file could not be read or held no\n"
    "certificate, 2 bad usage, 3 toolkit objects left alive (a bug).\n";

struct Options {
    bool json = false;
    int filter = -1; // -1: not given, all rows
    bool general = false;
    bool path = false;
    std::vector<const char *> trusted;
    std::vector<const char *> untrusted;
    std::vector<const char *> files;
};

// ---- Output ----

struct CertRef {
    const char *file;
    int index; // from 1
    int count; // certificates in the file
};

// "=== FILE #K of N (WHAT) ===".
std::string heading(const CertRef &ref, const std::string &what)
{
    std::string out = "=== " + terminalText(ref.file);
    if (ref.count > 1)
        out += " #" + std::to_string(ref.index) + " of " + std::to_string(ref.count);
    return out + " (" + what + ") ===\n";
}

// {"file": F, "index": K, and the caller's members.
std::string jsonHead(const CertRef &ref, bool first)
{
    std::string out = first ? "" : ",\n";
    out += "{\"file\": " + jsonString(ref.file);
    if (ref.count > 1)
        out += ", \"index\": " + std::to_string(ref.index);
    return out;
}

void printText(const CertRef &ref, const pkiui::ShowCertDetailDlgModel &model)
{
    const int rows = model.numberOfRows();
    std::string out = heading(ref, std::to_string(rows) + (rows == 1 ? " row" : " rows"));
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
    std::string out = jsonHead(ref, first) + ", \"rows\": [";
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

// The general and path tabs of one certificate.
void printTabs(const CertRef &ref, TAVIK_CERT_st *cert, const Options &options, bool first)
{
    std::string out = options.json ? jsonHead(ref, first) : "";
    if (options.general) {
        pkiui::ShowCertRoutineDlgModel model;
        model.setCertHandle(cert);
        out += options.json ? ", \"general\": " + generalJson(model)
                            : heading(ref, "general") + generalText(model) + "\n";
    }
    if (options.path) {
        pkiui::ShowCertPathDlgModel model;
        model.setCertHandle(cert);
        const PathView view = pathView(model);
        out += options.json ? ",\n \"path\": " + pathJson(view)
                            : heading(ref, "path") + pathText(view) + "\n";
    }
    if (options.json)
        out += "}";
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
        if (options.general || options.path) {
            printTabs(ref, certs[i], options, firstJson);
            firstJson = false;
            continue;
        }
        pkiui::ShowCertDetailDlgModel model;
        if (!model.setCertHandle(certs[i])) {
            std::fprintf(stderr, "pkiui-dump: %s #%d: cannot decode the certificate\n",
                         terminalText(path).c_str(), i + 1);
            ok = false;
            continue;
        }
        model.switchToIndex(options.filter < 0 ? 0 : options.filter);
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

// The value of "--NAME VALUE" or "--NAME=VALUE" at argv[i]; nullptr when arg
// is another option, "" when the value is missing.
const char *optionValue(std::string_view name, int &i, int argc, char **argv)
{
    const std::string_view arg = argv[i];
    if (arg == name)
        return i + 1 < argc ? argv[++i] : "";
    if (arg.size() > name.size() && arg.substr(0, name.size()) == name && arg[name.size()] == '=')
        return argv[i] + name.size() + 1;
    return nullptr;
}

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
        } else if (arg == "--general") {
            options.general = true;
        } else if (arg == "--path") {
            options.path = true;
        } else if (const char *value = optionValue("--filter", i, argc, argv)) {
            const std::string_view digit = value;
            if (digit.size() != 1 || digit[0] < '0' || digit[0] > '5')
                return Parse::Bad;
            options.filter = digit[0] - '0';
        } else if (const char *anchors = optionValue("--trust", i, argc, argv)) {
            if (!*anchors)
                return Parse::Bad;
            options.trusted.push_back(anchors);
        } else if (const char *known = optionValue("--untrusted", i, argc, argv)) {
            if (!*known)
                return Parse::Bad;
            options.untrusted.push_back(known);
        } else {
            return Parse::Bad;
        }
    }
    // The filter belongs to the detail rows only.
    const bool tabs = options.general || options.path;
    return options.files.empty() || (tabs && options.filter >= 0) ? Parse::Bad : Parse::Run;
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

    // The store the paths are built from: the anchors and certificates given.
    const auto addAll = [](const std::vector<const char *> &files, int (*add)(const char *)) {
        for (const char *file : files) {
            if (add(file) != 1) {
                std::fprintf(stderr, "pkiui-dump: %s: %s\n", terminalText(file).c_str(),
                             unreadableReason(file).c_str());
                return false;
            }
        }
        return true;
    };
    if (!addAll(options.trusted, TavikPKICertStoreAddTrustedFile) ||
        !addAll(options.untrusted, TavikPKICertStoreAddIntermediateFile))
        return 1;

    bool ok = true;
    bool firstJson = true;
    if (options.json)
        std::fputs("[\n", stdout);
    for (const char *file : options.files)
        ok = dumpFile(file, options, firstJson) && ok;
    if (options.json)
        std::fputs(firstJson ? "]\n" : "\n]\n", stdout);

    TavikPKICertStoreClear();
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
