#include "stage.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <utility>

namespace demo {

namespace {

constexpr auto patience = std::chrono::seconds(30);
constexpr int between_looks = 100; // milliseconds
constexpr int between_tables = 50; // so that somebody who watches sees them come
constexpr int tables_of_a_login = 17;
constexpr const char* code_of_servers = "8"; // a table without a name

volatile std::sig_atomic_t interrupted = 0;

void take_signal(int /*number*/)
{
    interrupted = 1;
}

std::vector<std::string> words_of(const std::string& line)
{
    std::vector<std::string> words(1);
    for (const char letter : line) {
        if (letter == '\t') {
            words.emplace_back();
        } else {
            words.back() += letter;
        }
    }
    return words;
}

bool begins_with(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

} // namespace

void Interruption::watch_for()
{
    struct sigaction action = {};
    action.sa_handler = take_signal; // without SA_RESTART: whoever waits wakes up
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    action.sa_handler = SIG_IGN; // a process that has ended is seen when its output ends
    sigaction(SIGPIPE, &action, nullptr);
}

Stage::Stage(Programs programs, std::vector<HostSettings> settings, int market, std::filesystem::path directory)
    : m_programs(std::move(programs)), m_market_number(market), m_directory(std::move(directory))
{
    m_view.market_title = "market " + std::to_string(market);
    for (std::size_t at = 0; at < hosts; ++at) {
        m_view.host_views.at(at).name = settings.at(at).name;
        m_view.host_views.at(at).title = settings.at(at).title;
        m_hosts.at(at).settings = std::move(settings.at(at));
        std::filesystem::create_directories(directory_of(at));
    }
    std::filesystem::create_directories(m_directory / "market");
    m_screen = Screen::make(m_view);
}

std::filesystem::path Stage::directory_of(std::size_t host) const
{
    return m_directory / m_hosts.at(host).settings.name;
}

// ---- Processes -------------------------------------------------------------------------------------------------

void Stage::start_market()
{
    m_market = std::make_unique<Child>(std::vector<std::string>{m_programs.market.string(), "--scenario",
                                                                m_programs.scenario.string(), "--quiet-feeds",
                                                                "--journal", "journal.jsonl"},
                                       m_directory / "market");
    expect("the market prints its port", [this] { return !m_port.empty(); });
}

void Stage::ask_market(const std::string& command, const std::string& answer)
{
    m_answers.clear();
    m_screen->say("market", "> " + command);
    m_market->send(command);
    expect("the market answers \"" + answer + "\" to \"" + command + "\"", [this, &answer] {
        return std::any_of(m_answers.begin(), m_answers.end(),
                           [&](const std::string& line) { return line.find(answer) != std::string::npos; });
    });
}

void Stage::write_configuration(const Host& host) const
{
    std::ofstream(m_directory / host.settings.name / "qapi.cfg")
        << "data_server      = DSAB\n"
           "ds_ip_address    = 127.0.0.1\n"
           "ds_tcp_port      = "
        << m_port << "\nlocal_code       = " << host.settings.machine
        << "\nuser_code        = " << host.settings.user_code << "\nbranch_code      = " << host.settings.branch
        << "\ntransaction_feed = 1\n"
           "table_code       = "
        << m_market_number
        << " Posturas_Vigentes\n"
           "language         = english\n"
           "log_last_processed_message = F\n"; // what isn't finished comes again
}

void Stage::start_host(std::size_t at)
{
    Host& host = m_hosts.at(at);
    write_configuration(host);
    host.heard.has_ended = false;
    ++host.starts;
    host.child = std::make_unique<Child>(std::vector<std::string>{m_programs.trader.string(), host.settings.name,
                                                                  host.settings.password, host.settings.user_code,
                                                                  std::to_string(m_market_number)},
                                         directory_of(at));
    await_tables(at);
    m_screen->say(host.settings.name, "starts in " + directory_of(at).string());
}

void Stage::tell_host(std::size_t host, const std::string& command)
{
    m_screen->say(m_hosts.at(host).settings.name, "> " + command);
    m_hosts.at(host).child->send(command);
}

void Stage::end_host(std::size_t at)
{
    Host& host = m_hosts.at(at);
    m_screen->say(host.settings.name, "logs out");
    host.child->send("quit");
    const std::string what = host.settings.name + " logs out and ends with 0";
    expect(what, [&host] { return host.heard.has_ended && host.child->exit_status().has_value(); });
    if (host.child->exit_status() != 0) {
        throw Failure("expected that " + what + "; it was " + std::to_string(*host.child->exit_status()));
    }
    host.child.reset();
}

void Stage::kill_host(std::size_t at)
{
    Host& host = m_hosts.at(at);
    HostView& shown = m_view.host_views.at(at);
    m_screen->say(host.settings.name, "is killed, process and all (SIGKILL)");
    host.child->kill();
    read_all();
    host.child.reset();
    host.before = {.finished = shown.finished, .sent = shown.sent, .kinds = host.heard.kinds};
    host.heard.book.clear();
    shown.received = shown.finished;
    await_tables(at);
    shown.state = State::killed;
    m_screen->refresh();
}

void Stage::end_market()
{
    m_market->send("quit");
    expect("the market ends", [this] { return m_market->exit_status().has_value(); });
    m_market.reset();
}

// A line for each process.
std::string Stage::tables_from_files(std::size_t at)
{
    const std::string heading = "Tables loaded from their files: ";
    std::string found;
    expect("the log of " + m_hosts.at(at).settings.name + " tells that tables were loaded", [&] {
        std::ifstream file(directory_of(at) / "qapi.log", std::ios::binary);
        const std::string log(std::istreambuf_iterator<char>(file), {});
        std::size_t begin = 0;
        for (int line = 0; line < m_hosts.at(at).starts; ++line) {
            const std::size_t next = log.find(heading, begin);
            if (next == std::string::npos) {
                return false;
            }
            begin = next + heading.size();
        }
        const std::size_t end = log.find(" ms", begin);
        found = log.substr(begin, end + 3 - begin);
        return end != std::string::npos;
    });
    return found;
}

// ---- Waiting ---------------------------------------------------------------------------------------------------

void Stage::expect(const std::string& what, const std::function<bool()>& has_happened)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!has_happened()) {
        pump(between_looks);
        if (std::chrono::steady_clock::now() > end) {
            throw Failure("expected within 30 seconds that " + what + "; heard last: " + last_heard());
        }
    }
}

void Stage::expect_of_both(const std::string& what, const std::function<bool(const Heard&)>& has_happened)
{
    for (const Host& host : m_hosts) {
        expect(host.settings.name + " " + what, [&] { return has_happened(host.heard); });
    }
}

std::string Stage::last_heard() const
{
    std::string all = "market \"" + (m_answers.empty() ? "" : m_answers.back()) + "\"";
    for (const Host& host : m_hosts) {
        all += ", " + host.settings.name + " \"" + host.heard.last + "\"";
    }
    return all;
}

void Stage::pause(int milliseconds)
{
    if (m_programs.hurried || !m_screen->is_watched()) {
        return;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (std::chrono::steady_clock::now() < end) {
        pump(between_looks);
    }
}

void Stage::pump(int milliseconds)
{
    std::vector<pollfd> outputs;
    for (const Child* child : children()) {
        if (child->output() >= 0) {
            outputs.push_back({.fd = child->output(), .events = POLLIN, .revents = 0});
        }
    }
    poll(outputs.data(), outputs.size(), milliseconds);
    if (interrupted != 0) {
        throw Interruption();
    }
    read_all();
    m_screen->refresh();
    check_processes();
}

std::vector<Child*> Stage::children() const
{
    std::vector<Child*> all;
    for (Child* child : {m_market.get(), m_hosts[0].child.get(), m_hosts[1].child.get()}) {
        if (child != nullptr) {
            all.push_back(child);
        }
    }
    return all;
}

void Stage::read_all()
{
    for (Child* child : children()) {
        child->read();
    }
    while (const auto line = m_market != nullptr ? m_market->next_line() : std::nullopt) {
        hear_market(*line);
    }
    for (std::size_t at = 0; at < hosts; ++at) {
        while (const auto line = m_hosts.at(at).child != nullptr ? m_hosts.at(at).child->next_line() : std::nullopt) {
            hear_host(at, *line);
        }
    }
}

// Nobody ends of itself before the end. What one said last is read before its end is looked at.
void Stage::check_processes()
{
    for (Host& host : m_hosts) {
        if (host.child != nullptr && !host.heard.has_ended && host.child->output() < 0 && host.child->exit_status()) {
            throw Failure(host.settings.name + " has ended with " + std::to_string(*host.child->exit_status()) +
                          "; what it had to say is in " + (m_directory / host.settings.name / "stderr.txt").string());
        }
    }
    if (m_market != nullptr && m_market->exit_status().value_or(0) != 0) {
        throw Failure("the market has ended with " + std::to_string(*m_market->exit_status()) +
                      "; what it had to say is in " + (m_directory / "market/stderr.txt").string());
    }
}

// ---- What the market tells -------------------------------------------------------------------------------------

void Stage::hear_market(const std::string& line)
{
    m_answers.push_back(line);
    if (m_port.empty()) {
        m_port = line;
        m_screen->say("market", "listens on port " + line);
        return;
    }
    for (Host& host : m_hosts) {
        if (begins_with(line, "machine " + host.settings.machine + ": table ")) {
            hear_table(host, line);
            return;
        }
    }
    m_screen->say("market", line);
}

// "machine L001: table 25 cities, 4 records": one that it has sent. The table of orders comes last, behind
// OnConnection.
void Stage::hear_table(Host& host, const std::string& line)
{
    HostView& shown = view_of(host);
    const std::size_t comma = line.rfind(", ");
    const std::string count = line.substr(comma + 2, line.find(' ', comma + 2) - comma - 2);
    const std::size_t blank = line.rfind(' ', comma - 1);
    const std::string name = line.substr(blank + 1, comma - blank - 1);
    if (name == std::to_string(m_market_number)) {
        return;
    }
    shown.state = State::connecting;
    ++shown.tables;
    shown.records += std::atoi(count.c_str());
    shown.last_table = (name == code_of_servers ? "servers" : name) + " " + count;
    host.tables += (host.tables.empty() ? "" : ", ") + shown.last_table;
    if (count != "0") {
        host.sent_tables += (host.sent_tables.empty() ? "" : ", ") + shown.last_table;
    }
    m_screen->refresh();
    if (m_screen->is_watched()) {
        poll(nullptr, 0, between_tables);
    }
}

HostView& Stage::view_of(const Host& host)
{
    return m_view.host_views.at(static_cast<std::size_t>(&host - m_hosts.data()));
}

void Stage::await_tables(std::size_t at)
{
    HostView& shown = m_view.host_views.at(at);
    shown.state = State::connecting;
    shown.tables = shown.records = 0;
    shown.tables_wanted = tables_of_a_login;
    shown.last_table.clear();
    m_hosts.at(at).tables.clear();
    m_hosts.at(at).sent_tables.clear();
}

// ---- What a host tells -----------------------------------------------------------------------------------------

void Stage::hear_host(std::size_t at, const std::string& line)
{
    Words words = words_of(line);
    words.resize(std::max<std::size_t>(words.size(), 9)); // as many as the longest has
    Heard& heard = m_hosts.at(at).heard;
    if (words[0] == "tally") {
        HostView& shown = m_view.host_views.at(at);
        const Counts& before = m_hosts.at(at).before;
        shown.received = before.finished + std::atoi(words[1].c_str());
        shown.finished = before.finished + std::atoi(words[2].c_str());
        shown.sent = before.sent + std::atoi(words[3].c_str());
    } else if (words[0] == "kind") {
        const auto& before = m_hosts.at(at).before.kinds;
        const auto earlier = before.find(words[1]);
        heard.kinds[words[1]] = (earlier != before.end() ? earlier->second : 0) + std::atoi(words[2].c_str());
    } else {
        heard.last = line;
        hear_session(at, words);
        hear_message(at, words);
    }
}

void Stage::hear_session(std::size_t at, const Words& words)
{
    Host& host = m_hosts.at(at);
    HostView& shown = m_view.host_views.at(at);
    const std::string& name = host.settings.name;
    if (words[0] == "ready") {
        ++host.heard.times_ready;
        shown.state = State::connected;
        shown.last_table = std::to_string(shown.records) + " records";
        if (host.heard.times_ready == 1) {
            m_screen->say(name, "has " + std::to_string(shown.tables) + " tables: " + host.tables);
        } else {
            m_screen->say(name, "was sent " + shown.last_table + ": " + host.sent_tables);
        }
        m_screen->say(name, "OnConnection(0)" + (words[1].empty() ? "" : ", " + words[1] + " ms after Login"));
    } else if (words[0] == "lost") {
        ++host.heard.times_lost;
        host.heard.book.clear(); // all that belongs to a connection comes again
        await_tables(at);
        shown.state = State::lost;
        m_screen->say(name, "OnDisconnection: " + words[1]);
    } else if (words[0] == "leaves") {
        host.heard.leaves = true;
    } else if (words[0] == "ended") {
        host.heard.has_ended = true;
        shown.state = State::ended;
    } else if (words[0] == "refused" || words[0] == "problem" || (words[0] == "error" && words[1] != "0")) {
        m_screen->say(name, words[0] + " " + words[1] + " " + words[2]);
    }
}

void Stage::hear_message(std::size_t at, const Words& words)
{
    Host& host = m_hosts.at(at);
    const std::string& name = host.settings.name;
    if (words[0] == "row") {
        hear_row(host, words);
    } else if (words[0] == "chat") {
        host.heard.chats.push_back(words[3]);
        m_screen->say(name, "Chat of " + words[2] + ": " + words[3]);
    } else if (words[0] == "order") {
        m_screen->say(name, "Orden_Transaccion " + words[1] + " of " + words[2]);
    } else if (words[0] == "trade") {
        host.heard.trades.push_back(words[1] + " at " + words[2]);
        host.heard.paths.clear();
        m_screen->say(name, "Mantenimiento_Transacciones: " + host.heard.trades.back());
    } else if (words[0] == "path") {
        host.heard.paths.push_back(words[1] + " = " + words[2]);
    } else if (words[0] == "prices") {
        m_screen->say(name, "Precios_Montos_Transados: the day's prices are " + words[1] + " to " + words[2]);
    } else if (words[0] == "message") {
        m_screen->say(name, words[1]);
    }
}

// ---- The book --------------------------------------------------------------------------------------------------

void Stage::hear_row(Host& host, const Words& words)
{
    if (words[1] == "B") {
        host.heard.book.erase(words[2]);
    } else if (words[3] == std::to_string(m_market_number)) {
        host.heard.book[words[2]] = {words[4] == "D", words[5], words[6], words[7], words[8]};
    }
    show_book();
}

// Of the host that knows more: one that has lost its connection knows nothing.
void Stage::show_book()
{
    const auto& [first, second] = m_hosts;
    const auto& book = first.heard.book.size() >= second.heard.book.size() ? first.heard.book : second.heard.book;
    std::vector<Order> orders;
    orders.reserve(book.size());
    for (const auto& [record, order] : book) {
        orders.push_back(order);
    }
    std::stable_sort(orders.begin(), orders.end(), [](const Order& a, const Order& b) {
        return std::atof(a.price.c_str()) < std::atof(b.price.c_str());
    });
    m_view.bids.clear();
    m_view.offers.clear();
    for (const Order& order : orders) {
        (order.is_bid ? m_view.bids : m_view.offers).push_back({order.owner, order.amount, order.price});
    }
    std::reverse(m_view.bids.begin(), m_view.bids.end());
}

std::string Stage::book_of(std::size_t host) const
{
    std::map<std::string, std::string> lines;
    for (const auto& [record, order] : heard(host).book) {
        lines[order.code] = order.code + (order.is_bid ? " bid " : " offer ") + order.amount + " at " + order.price;
    }
    std::string text;
    for (const auto& [code, line] : lines) {
        text += (text.empty() ? "" : ", ") + line;
    }
    return text;
}

} // namespace demo
