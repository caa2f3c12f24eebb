// The smallest host: writes a configuration, logs in, prints every callback with a time stamp, and logs out when it
// reads a q, or its standard input ends.
//
//   hello_host [DIRECTORY [PORT...]]
//
//   DIRECTORY    holds qapi.cfg and qapi.log; a new one under /tmp if none is given
//   PORT         of a server on this machine; several are tried in turn. 7001 if none is given
#include <qcapi/qcapi.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

namespace {

void say(const char* format, auto... values)
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::printf("%02d:%02d:%02d.%03d  ", local.tm_hour, local.tm_min, local.tm_sec, static_cast<int>(milliseconds));
    std::printf(format, values...);
    std::printf("\n");
    std::fflush(stdout); // whoever reads this from a pipe reads along
}

class HelloHost : public CQcApi
{
public:
    ~HelloHost() override { Logout(); } // here, while the callbacks of this class still stand

    void OnConnection(int result_code) override { say("OnConnection       result %d", result_code); }
    void OnDisconnection(int reason_code, const char* reason_text) override
    {
        say("OnDisconnection    state %d, %s", reason_code, reason_text);
    }
    void OnMessageReceived(char* message_type, unsigned int message_num) override
    {
        say("OnMessageReceived  %s number %u", message_type, message_num);
    }
    void OnError(int error_code, char* error_text, int next_action_code, int /*next_action_data*/) override
    {
        say("OnError            code %d, next action %d: %s", error_code, next_action_code, error_text);
    }
    void OnStatusChanged(int status_code, char* status_text) override
    {
        say("OnStatusChanged    %d, %s", status_code, status_text);
    }
};

bool write_configuration(const std::vector<std::string>& ports)
{
    std::ofstream file("qapi.cfg");
    file << "# where to connect: each address is followed by its port\n";
    for (const std::string& port : ports) {
        file << "ds_ip_address = 127.0.0.1\nds_tcp_port = " << port << "\n";
    }
    file << "send_mode = 1\n"
            "# who this is, and which server it belongs to\n"
            "data_server = DSAB\n"
            "local_code  = L001\n"
            "user_code   = U001\n"
            "branch_code = BRANCH01\n"
            "transaction_feed = 1\n"
            "language = english\n";
    return file.good();
}

} // namespace

int main(int argc, char** argv)
{
    char fresh[] = "/tmp/hello_host-XXXXXX";
    const char* directory = argc > 1 ? argv[1] : mkdtemp(fresh);
    std::vector<std::string> ports(argv + std::min(argc, 2), argv + argc);
    if (ports.empty()) {
        ports.emplace_back("7001");
    }
    std::error_code failed;
    if (directory != nullptr) {
        std::filesystem::current_path(directory, failed);
    }
    if (directory == nullptr || failed || !write_configuration(ports)) {
        std::fprintf(stderr, "hello_host: no writable directory\n");
        return 1;
    }
    HelloHost host;
    char version[16];
    host.GetVersion(version);
    say("Quentar API %s in %s", version, directory);

    char user[] = "demo";
    char password[] = "secret";
    const int code = host.Login(user, password);
    say("Login returned     %d", code);
    if (code != 0) {
        return 1;
    }
    for (int key = 0; key != 'q' && key != EOF; key = std::getchar()) { // the library's own threads do everything
    }
    say("Logout returned    %d", host.Logout());
    return 0;
}
