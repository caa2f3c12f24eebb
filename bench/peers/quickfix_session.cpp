#include "quickfix_session.h"

#include <quickfix/Application.h>
#include <quickfix/FileLog.h>
#include <quickfix/FileStore.h>
#include <quickfix/SessionSettings.h>
#include <quickfix/SocketInitiator.h>
#include <quickfix/Values.h>
#include <quickfix/fix44/NewOrderSingle.h>

#include <sstream>
#include <utility>

namespace {

class Reader : public FIX::Application
{
public:
    explicit Reader(std::function<void()> on_message) : m_on_message(std::move(on_message)) {}

    void onCreate(const FIX::SessionID&) override {}
    void onLogon(const FIX::SessionID&) override {}
    void onLogout(const FIX::SessionID&) override {}
    void toAdmin(FIX::Message&, const FIX::SessionID&) override {}
    void toApp(FIX::Message&, const FIX::SessionID&) throw(FIX::DoNotSend) override {}
    void fromAdmin(const FIX::Message&, const FIX::SessionID&) throw(FIX::FieldNotFound, FIX::IncorrectDataFormat,
                                                                     FIX::IncorrectTagValue, FIX::RejectLogon) override
    {
    }
    void fromApp(const FIX::Message& message, const FIX::SessionID&) throw(FIX::FieldNotFound, FIX::IncorrectDataFormat,
                                                                           FIX::IncorrectTagValue,
                                                                           FIX::UnsupportedMessageType) override
    {
        FIX::ClOrdID code;
        FIX::Side side;
        FIX::Symbol symbol;
        FIX::Price price;
        FIX::OrderQty quantity;
        message.getField(code);
        message.getField(side);
        message.getField(symbol);
        message.getField(price);
        message.getField(quantity);
        m_sum = m_sum + price.getValue() + quantity.getValue() + static_cast<double>(code.getValue().size());
        m_on_message();
    }

private:
    std::function<void()> m_on_message;
    volatile double m_sum = 0;
};

FIX::SessionSettings settings_of(const std::string& directory, int port)
{
    std::stringstream text;
    text << "[DEFAULT]\nConnectionType=initiator\nReconnectInterval=1\nFileStorePath=" << directory
         << "\nFileLogPath=" << directory
         << "\nStartTime=00:00:00\nEndTime=00:00:00\nHeartBtInt=3600\nUseDataDictionary=N\nCheckLatency=N\n"
            "ResetOnLogon=Y\n[SESSION]\nBeginString=FIX.4.4\nSenderCompID=CLIENT\nTargetCompID=SERVER\n"
            "SocketConnectHost=127.0.0.1\nSocketConnectPort="
         << port << "\n";
    return FIX::SessionSettings(text);
}

} // namespace

struct QuickfixSession::Parts
{
    Parts(const std::string& directory, int port, std::function<void()> on_message)
        : reader(std::move(on_message)), settings(settings_of(directory, port)), store(settings), log(settings),
          initiator(reader, store, settings, log)
    {
        initiator.start();
    }
    ~Parts() { initiator.stop(true); }

    Reader reader;
    FIX::SessionSettings settings;
    FIX::FileStoreFactory store;
    FIX::FileLogFactory log;
    FIX::SocketInitiator initiator;
};

QuickfixSession::QuickfixSession(const std::string& directory, int port, std::function<void()> on_message)
    : m_parts(new Parts(directory, port, std::move(on_message)))
{
}

QuickfixSession::~QuickfixSession() = default;
