#include "support/config_fixture.h"

#include "qcapi/log.h"
#include "qcapi/support.h"
#include "support/forget_configuration.h"

std::vector<std::pair<int, std::string>> ConfigFixture::reports;

ConfigFixture::ConfigFixture()
{
    Forget_Configuration();
    reports.clear();
    Set_Report_Host_Sink([](int code, char* text) { reports.emplace_back(code, text); });
    LOG_Init(QAPI_LOG_FILE_NAME, folder().c_str());
}

ConfigFixture::~ConfigFixture()
{
    LOG_End();
    Set_Report_Host_Sink(nullptr);
    CONF_Release_Replay_Texts();
}

int ConfigFixture::read(const std::string& text)
{
    directory.write(QAPI_CONFIG_FILE_NAME, text);
    return CONF_Read_File(path(QAPI_CONFIG_FILE_NAME).c_str(), error);
}
