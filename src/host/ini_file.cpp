#include "host/ini_file.h"
#include "dhcp/dhcp_options.h"
#include "dhcp/reservations.h"

#include "net/atomic_file.h"
#include "wire/addresses.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>

namespace quorvane {

namespace {

// A settings file is a few hundred bytes; reading stops here so that a huge stray file cannot
// hold up start-up or eat memory.
constexpr std::streamsize kMaxIniBytes = 4 << 20;

std::string_view trim(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

std::string upper(std::string_view text)
{
    std::string out(text);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

std::string lower(std::string_view text)
{
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

// Digits at the start (after an optional sign); anything else gives 0. Settings are counts and
// times, so a negative value reads as 0 and a value past the field's range as its largest value.
template <class Int> Int leadingNumber(std::string_view text)
{
    size_t i = 0;
    const bool negative = !text.empty() && text[0] == '-';
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) i = 1;
    uint64_t value = 0;
    constexpr auto max = static_cast<uint64_t>(std::numeric_limits<Int>::max());
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        value = std::min<uint64_t>(value * 10 + static_cast<uint64_t>(text[i] - '0'), max);
    return negative ? Int{0} : static_cast<Int>(value);
}

// Dotted-decimal form of an address value; an empty value stays empty and is then skipped.
std::string normalAddress(std::string_view text)
{
    return text.empty() ? std::string() : CanonicalIP(std::string(text));
}

void addUnique(std::vector<std::string>& list, std::set<std::string>& seen, std::string address)
{
    if (!address.empty() && seen.insert(address).second) list.push_back(std::move(address));
}

// "ADDRESS", or "ADDRESS tls NAME" for a forwarder asked over TLS only.
void readNs(Settings& s, std::set<std::string>& seen, std::string_view raw)
{
    const auto blank = raw.find(' ');
    const std::string address = normalAddress(upper(raw.substr(0, blank)));
    if (blank != std::string_view::npos) {
        const std::string_view rest = trim(raw.substr(blank));
        if (address.empty() || upper(rest.substr(0, 4)) != "TLS ") return; // not a line this program writes
        const std::string name = CleanName(lower(trim(rest.substr(4))));
        if (name.empty()) return;
        s.NSTLS[address] = name;
    }
    addUnique(s.NS, seen, address);
}

// "IPaddr Domain ScopeFrom ScopeTo Subnet Gateway TTL", each field up to the next blank.
clDHCPif parseDhcpLine(std::string_view value)
{
    std::string_view fields[7];
    for (auto& field : fields) {
        const auto blank = value.find(' ');
        field = value.substr(0, blank);
        value = blank == std::string_view::npos ? std::string_view() : value.substr(blank + 1);
    }
    clDHCPif dhcp;
    dhcp.IPaddr = normalAddress(fields[0]);
    dhcp.Domain = "." + CleanName(fields[1]);
    dhcp.ScopeFrom = normalAddress(fields[2]);
    dhcp.ScopeTo = normalAddress(fields[3]);
    dhcp.Subnet = normalAddress(fields[4]);
    dhcp.Gateway = normalAddress(fields[5]);
    if (dhcp.Gateway == "0.0.0.0") dhcp.Gateway.clear(); // how an empty gateway is written
    dhcp.TTL = leadingNumber<int32_t>(fields[6]);
    if (dhcp.TTL == 0) dhcp.TTL = clDHCPif::kDefaultLease;
    dhcp.Enable = true;
    return dhcp;
}

// "INTERFACE CODE VALUE", the value as written (text keeps its case); a code of 0 when the line
// cannot be used.
DhcpOptionLine parseOptionLine(std::string_view raw)
{
    DhcpOptionLine line;
    const auto first = raw.find(' ');
    line.Interface = normalAddress(raw.substr(0, first));
    raw = first == std::string_view::npos ? std::string_view() : trim(raw.substr(first + 1));
    const auto second = raw.find(' ');
    line.Code = leadingNumber<int>(raw.substr(0, second));
    line.Value = second == std::string_view::npos ? std::string() : std::string(trim(raw.substr(second + 1)));
    if (line.Interface == "0.0.0.0" || !encodeDhcpOption(line.Code, line.Value)) line.Code = 0;
    return line;
}

void setFlag(std::string& out, const char* line, bool value, bool byDefault)
{
    if (value != byDefault) (out += line) += '\n';
}

void setText(std::string& out, const char* key, const std::string& value)
{
    if (!value.empty()) out += std::string(key) + ": " + value + '\n';
}

void setNumber(std::string& out, const char* key, long value)
{
    out += std::string(key) + ": " + std::to_string(value) + " \n";
}

} // namespace

// "DOMAIN ADDRESS [ADDRESS ...]"; empty when the domain or every address is unusable.
ForwardRule parseForwardLine(std::string_view value)
{
    ForwardRule rule;
    std::set<std::string> seen;
    for (bool first = true; !value.empty(); first = false) {
        const auto blank = value.find(' ');
        const std::string_view field = value.substr(0, blank);
        value = blank == std::string_view::npos ? std::string_view() : trim(value.substr(blank + 1));
        if (first) rule.domain = CleanName(field);
        else if (std::string address = normalAddress(field); address != "0.0.0.0") // 0.0.0.0: unreadable
            addUnique(rule.servers, seen, std::move(address));
    }
    if (rule.domain.empty() || rule.servers.empty()) return {};
    return rule;
}

// "CLIENT ADDRESS NAME"; an empty client when a field is unusable.
DhcpFixed parseFixedLine(std::string_view value)
{
    std::string_view fields[3];
    for (auto& field : fields) {
        const auto blank = value.find(' ');
        field = value.substr(0, blank);
        value = blank == std::string_view::npos ? std::string_view() : trim(value.substr(blank + 1));
    }
    DhcpFixed fixed{cleanFixedClient(fields[0]), normalAddress(fields[1]), CleanName(fields[2])};
    fixed.Name = fixed.Name.substr(0, fixed.Name.find('.')); // one label: it gets the interface's domain
    if (fixed.IPaddr.empty() || fixed.IPaddr == "0.0.0.0" || fixed.Name.empty()) fixed.Client.clear();
    return fixed;
}

Settings parseIni(std::string_view text)
{
    Settings s;
    std::set<std::string> seenNs, seenNoBlock, seenDhcp, seenForward, seenFixed, seenNoFilter;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);

        const auto colon = line.find(':');
        const std::string key = upper(trim(line.substr(0, colon)));
        // Paths keep their letter case, which matters on Linux; every other value is read in capitals.
        const std::string_view raw =
            colon == std::string_view::npos ? std::string_view() : trim(line.substr(colon + 1));
        const std::string value = upper(raw);
        const bool flag = !value.empty() && value[0] == 'Y';

        if (key == "NAME") s.NAME = CleanName(value);
        else if (key == "STARTMINI") s.STARTMINI = flag;
        else if (key == "HOSTS") s.HOSTS = std::string(raw);
        else if (key == "HOSTSTTL") s.HOSTSTTL = leadingNumber<int32_t>(value);
        else if (key == "DNSBIND") s.DNSBIND = normalAddress(value);
        else if (key == "DNSRECURSION" && !value.empty()) s.DNSRECURSION = lower(value); // none: the default
        else if (key == "AUTOCNAME") s.AUTOCNAME = flag;
        else if (key == "WRITELOG") s.WRITELOG = flag;
        else if (key == "LOGDETAIL") s.LOGDETAIL = flag;
        else if (key == "LOGINONLY") s.LOGINONLY = flag;
        else if (key == "LOGBLOCK") s.LOGBLOCK = flag;
        else if (key == "CACHETTL") s.CACHETTL = leadingNumber<int32_t>(value);
        else if (key == "CACHERELOAD") s.CACHERELOAD = flag;
        else if (key == "SPOOFSECURE") s.SPOOFSECURE = flag;
        else if (key == "CHECKNEW") s.CHECKNEW = leadingNumber<int32_t>(value);
        else if (key == "RECURSIONOUT") s.RECURSIONOUT = flag;
        else if (key == "NS") readNs(s, seenNs, raw);
        else if (key == "BOMBLEVEL") s.BOMBLEVEL = leadingNumber<uint16_t>(value);
        else if (key == "NOBLOCK") addUnique(s.NOBLOCK, seenNoBlock, normalAddress(value));
        else if (key == "AAAARECORDS") s.AAAARECORDS = flag;
        else if (key == "EDNS") s.EDNS = flag;
        else if (key == "TCPQUERIES") s.TCPQUERIES = flag;
        else if (key == "QUERYHARDENING") s.QUERYHARDENING = flag;
        else if (key == "MORERECORDTYPES") s.MORERECORDTYPES = flag;
        else if (key == "LOCALNAMES") s.LOCALNAMES = flag;
        else if (key == "DHCPFIXEDNAMES") s.DHCPFIXEDNAMES = flag;
        else if (key == "DHCPFIXED") {
            // One reservation per client and per address: the first line wins.
            DhcpFixed fixed = parseFixedLine(value);
            if (!fixed.Client.empty() && !seenFixed.contains(fixed.Client) && !seenFixed.contains(fixed.IPaddr)) {
                seenFixed.insert({fixed.Client, fixed.IPaddr});
                s.DHCPFIXED.push_back(std::move(fixed));
            }
        }
        else if (key == "DHCPOPTION") {
            DhcpOptionLine option = parseOptionLine(raw);
            if (option.Code != 0) s.DHCPOPTION.push_back(std::move(option));
        }
        else if (key == "FORWARD") {
            ForwardRule rule = parseForwardLine(value);
            if (!rule.domain.empty() && seenForward.insert(rule.domain).second) s.FORWARD.push_back(std::move(rule));
        }
        else if (key == "BLOCKLIST" && !raw.empty()) s.BLOCKLIST.emplace_back(raw);
        else if (key == "ALLOWLIST" && !raw.empty()) s.ALLOWLIST.push_back(lower(raw));
        else if (key == "BLOCKANSWER") s.BLOCKANSWER = value == "NXDOMAIN" || value == "REFUSED" ? value : "ZERO";
        else if (key == "CACHESIZE") s.CACHESIZE = std::max(leadingNumber<int32_t>(value), 1);
        else if (key == "LOGMAXSIZE") s.LOGMAXSIZE = std::max(leadingNumber<int32_t>(value), 1);
        else if (key == "BLOCKLISTUPDATE") s.BLOCKLISTUPDATE = std::max(leadingNumber<int32_t>(value), 1);
        else if (key == "NOFILTER") addUnique(s.NOFILTER, seenNoFilter, normalAddress(value));
        else if (key == "USER") s.USER = std::string(raw); // user names are case-sensitive
        else if (key == "TLSCAFILE") s.TLSCAFILE = std::string(raw);
        else if (key == "TLSCERTFILE") s.TLSCERTFILE = std::string(raw);
        else if (key == "TLSKEYFILE") s.TLSKEYFILE = std::string(raw);
        else if (key == "DHCP") {
            clDHCPif dhcp = parseDhcpLine(value);
            if (!dhcp.IPaddr.empty() && seenDhcp.insert(dhcp.IPaddr).second) s.DHCP.push_back(std::move(dhcp));
        }
        // PERMIV (from older files) and RELOADPORT (written for other tools) are read and dropped,
        // like any unknown key.
    }
    return s;
}

std::string formatIni(const Settings& s, uint16_t reloadPort)
{
    const Settings defaults;
    std::string out;
    setText(out, "Name", s.NAME);
    setText(out, "Hosts", s.HOSTS);
    setNumber(out, "HostsTTL", s.HOSTSTTL);
    setText(out, "DNSBind", s.DNSBIND);
    setFlag(out, "StartMini: YES", s.STARTMINI, defaults.STARTMINI);
    setText(out, "DNSRecursion", s.DNSRECURSION);
    setFlag(out, "AutoCNAME: YES", s.AUTOCNAME, defaults.AUTOCNAME);
    setFlag(out, "WriteLog: YES", s.WRITELOG, defaults.WRITELOG);
    setFlag(out, "LogDetail: NO", s.LOGDETAIL, defaults.LOGDETAIL);
    setFlag(out, "LogInOnly: YES", s.LOGINONLY, defaults.LOGINONLY);
    setFlag(out, "LogBlock: NO", s.LOGBLOCK, defaults.LOGBLOCK);
    if (s.CACHETTL > 0) setNumber(out, "CacheTTL", s.CACHETTL);
    setFlag(out, "CacheReload: YES", s.CACHERELOAD, defaults.CACHERELOAD);
    setFlag(out, "SpoofSecure: YES", s.SPOOFSECURE, defaults.SPOOFSECURE);
    if (s.CHECKNEW > 0) setNumber(out, "CheckNew", s.CHECKNEW);
    setFlag(out, "RecursionOut: YES", s.RECURSIONOUT, defaults.RECURSIONOUT);
    for (const auto& ns : s.NS)
        if (!s.NSTLS.contains(ns)) setText(out, "NS", ns); // forwarders over TLS are written further down
    setNumber(out, "ReloadPort", reloadPort);
    setNumber(out, "BombLevel", s.BOMBLEVEL);
    for (const auto& address : s.NOBLOCK) setText(out, "NoBlock", address);
    for (const auto& d : s.DHCP) {
        const std::string gateway = d.Gateway.empty() ? "0.0.0.0" : d.Gateway;
        out += "DHCP: " + d.IPaddr + ' ' + d.Domain + ' ' + d.ScopeFrom + ' ' + d.ScopeTo + ' ' + d.Subnet + ' ' +
               gateway + ' ' + std::to_string(d.TTL) + '\n';
    }
    setFlag(out, "AAAARecords: YES", s.AAAARECORDS, defaults.AAAARECORDS);
    setFlag(out, "EDNS: YES", s.EDNS, defaults.EDNS);
    setFlag(out, "TCPQueries: YES", s.TCPQUERIES, defaults.TCPQUERIES);
    setFlag(out, "QueryHardening: YES", s.QUERYHARDENING, defaults.QUERYHARDENING);
    setFlag(out, "MoreRecordTypes: YES", s.MORERECORDTYPES, defaults.MORERECORDTYPES);
    setFlag(out, "LocalNames: YES", s.LOCALNAMES, defaults.LOCALNAMES);
    setFlag(out, "DHCPFixedNames: YES", s.DHCPFIXEDNAMES, defaults.DHCPFIXEDNAMES);
    for (const auto& source : s.BLOCKLIST) setText(out, "BlockList", source);
    for (const auto& name : s.ALLOWLIST) setText(out, "AllowList", name);
    if (s.BLOCKANSWER != defaults.BLOCKANSWER) setText(out, "BlockAnswer", s.BLOCKANSWER);
    if (s.BLOCKLISTUPDATE != defaults.BLOCKLISTUPDATE) setNumber(out, "BlockListUpdate", s.BLOCKLISTUPDATE);
    for (const auto& address : s.NOFILTER) setText(out, "NoFilter", address);
    for (const auto& fixed : s.DHCPFIXED) out += "DHCPFixed: " + fixed.Client + ' ' + fixed.IPaddr + ' ' + fixed.Name + '\n';
    for (const auto& option : s.DHCPOPTION)
        out += "DHCPOption: " + option.Interface + ' ' + std::to_string(option.Code) + ' ' + option.Value + '\n';
    for (const auto& rule : s.FORWARD) {
        out += "Forward: " + rule.domain;
        for (const auto& server : rule.servers) out += ' ' + server;
        out += '\n';
    }
    for (const auto& ns : s.NS)
        if (const auto tls = s.NSTLS.find(ns); tls != s.NSTLS.end()) setText(out, "NS", ns + " tls " + tls->second);
    setText(out, "TLSCAFile", s.TLSCAFILE);
    setText(out, "TLSCertFile", s.TLSCERTFILE);
    setText(out, "TLSKeyFile", s.TLSKEYFILE);
    setText(out, "User", s.USER);
    if (s.CACHESIZE != defaults.CACHESIZE) setNumber(out, "CacheSize", s.CACHESIZE);
    if (s.LOGMAXSIZE != defaults.LOGMAXSIZE) setNumber(out, "LogMaxSize", s.LOGMAXSIZE);
    return out;
}

Settings LoadINI(const std::filesystem::path& programFolder)
{
    std::ifstream in(programFolder / kIniFileName, std::ios::binary);
    if (!in) return Settings{};
    std::string text(static_cast<size_t>(kMaxIniBytes), '\0');
    in.read(text.data(), kMaxIniBytes);
    text.resize(static_cast<size_t>(in.gcount()));
    return parseIni(text);
}

bool SaveINI(const std::filesystem::path& programFolder, const Settings& settings, uint16_t reloadPort)
{
    return writeFileAtomically(programFolder / kIniFileName, formatIni(settings, reloadPort));
}

std::string mainCaption(const Settings& settings)
{
    return settings.NAME.empty() ? "Quorvane" : settings.NAME + " - Quorvane";
}

} // namespace quorvane
