// The smallest host. It runs in an empty directory, where Login finds no configuration and says so by callback.
#include <qcapi/qcapi.h>

#include <cstdio>
#include <string>

#ifdef HOST_DEFINES_CUR_QAPI
CQcApi* Cur_Qapi;
#endif

class Host : public CQcApi
{
public:
    ~Host() override { Logout(); }
    void OnError(int error_code, char*, int, int) override { reported = error_code; }
    int reported = 0;
};

int main()
{
    Host host;
    char version[16] = {};
    char empty[] = "";
    host.GetVersion(version);
    const int result = host.Login(empty, empty);
    std::printf("version %s, login %d, reported %d, object %s\n", version, result, host.reported,
                Cur_Qapi == &host ? "known" : "unknown");
    return std::string(version) == QAPI_STR_VERSION && result == QAPI_ERR_CONFIG_NOT_FOUND && host.reported == result &&
                   Cur_Qapi == &host
               ? 0
               : 1;
}
