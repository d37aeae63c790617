// pkiui-dump: prints the detail rows of every certificate in the files, as the
// viewer's detail tab lists them, or what its general and path tabs show, for
// reading in a terminal or as JSON.
#include <getopt.h>
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
    "                 \"statusText\", \"reason\"}, ...]} in place of \"rows\"; "
    "\"reason\"\n"
    "                 says what verification found at that certificate. Texts "
    "keep every\n"
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
    "certificate, 2 bad usage.\n";

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

// {"file": F, "index": K}, to which the caller adds its members.
Json jsonHead(const CertRef &ref)
{
    Json head;
    head["file"] = ref.file;
    if (ref.count > 1)
        head["index"] = ref.index;
    return head;
}

// Certificates are written as they are decoded, one a line, so a large bundle
// is not held in memory.
void printJson(const Json &cert, bool first)
{
    if (!first)
        std::fputs(",\n", stdout);
    std::fputs(jsonText(cert).c_str(), stdout);
}

void printText(const CertRef &ref, const pkiui::ShowCertDetailDlgModel &model)
{
    const int rows = model.numberOfRows();
    std::string out = heading(ref, std::to_string(rows) + (rows == 1 ? " row" : " rows"));
    for (int r = 0; r < model.numberOfRows(); ++r) {
        const pkiui::CertDetailInfoItem *row = model.rowAt(r);
        if (!row)
            continue;
        out += terminalText(row->name);
        out += '\t';
        out += terminalText(row->value);
        out += "\n    kind ";
        out += kindText(row->type);
        out += '\n';
        for (std::string_view line : contentLines(row->content)) {
            out += "    | ";
            out += terminalText(line);
            out += '\n';
        }
    }
    out += "\n";
    std::fputs(out.c_str(), stdout);
}

Json rowsJson(const pkiui::ShowCertDetailDlgModel &model)
{
    Json rows = Json::array();
    for (int r = 0; r < model.numberOfRows(); ++r) {
        if (const pkiui::CertDetailInfoItem *row = model.rowAt(r)) {
            Json &item = rows.emplace_back();
            item["name"] = row->name;
            item["value"] = row->value;
            item["content"] = row->content;
            item["type"] = row->type;
        }
    }
    return rows;
}

// The general and path tabs of one certificate.
void printTabs(const CertRef &ref, TAVIK_CERT_st *cert, const Options &options, bool first)
{
    Json json = jsonHead(ref);
    std::string text;
    if (options.general) {
        pkiui::ShowCertRoutineDlgModel model;
        model.setCertHandle(cert);
        if (options.json)
            json["general"] = generalJson(model);
        else
            text += heading(ref, "general") + generalText(model) + "\n";
    }
    if (options.path) {
        pkiui::ShowCertPathDlgModel model;
        model.setCertHandle(cert);
        const PathView view = pathView(model);
        if (options.json)
            json["path"] = pathJson(view);
        else
            text += heading(ref, "path") + pathText(view) + "\n";
    }
    if (options.json)
        printJson(json, first);
    else
        std::fputs(text.c_str(), stdout);
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
            Json json = jsonHead(ref);
            json["rows"] = rowsJson(model);
            printJson(json, firstJson);
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
    enum : int { kJson = 256, kFilter, kGeneral, kPath, kTrust, kUntrusted };
    static const option kOptions[] = {
        {"json", no_argument, nullptr, kJson},
        {"filter", required_argument, nullptr, kFilter},
        {"general", no_argument, nullptr, kGeneral},
        {"path", no_argument, nullptr, kPath},
        {"trust", required_argument, nullptr, kTrust},
        {"untrusted", required_argument, nullptr, kUntrusted},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    opterr = 0; // the usage is the only message
    for (int opt; (opt = getopt_long(argc, argv, "h", kOptions, nullptr)) != -1;) {
        const std::string_view value = optarg ? optarg : "";
        switch (opt) {
        case 'h':
            return Parse::Help;
        case kJson:
            options.json = true;
            break;
        case kGeneral:
            options.general = true;
            break;
        case kPath:
            options.path = true;
            break;
        case kFilter:
            if (value.size() != 1 || value[0] < '0' || value[0] > '5')
                return Parse::Bad;
            options.filter = value[0] - '0';
            break;
        case kTrust:
        case kUntrusted:
            if (value.empty())
                return Parse::Bad;
            (opt == kTrust ? options.trusted : options.untrusted).push_back(optarg);
            break;
        default:
            return Parse::Bad;
        }
    }
    for (int i = optind; i < argc; ++i)
        options.files.push_back(argv[i]);
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
    return ok ? 0 : 1;
}
