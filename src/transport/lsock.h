// A thin non-blocking TCP socket. It has no event loop: somebody calls Sock_Check now and then, which looks at the
// socket and calls one of the On... handlers. It knows nothing of frames.
//
// The class has no lock; the transport uses it under DCON_lock. The last error is one word for all sockets, read right
// behind the call that failed.
#pragma once

#include <atomic>
#include <netinet/in.h>
#include <sys/socket.h>

class DAsyncSocket
{
public:
    DAsyncSocket() { Set_Last_Error(0); }
    virtual ~DAsyncSocket();
    DAsyncSocket(const DAsyncSocket&) = delete;
    DAsyncSocket& operator=(const DAsyncSocket&) = delete;

    // Called by Sock_Check; `err` is an errno, 0 if all is well.
    virtual void OnAccept(int err);  // closes the new connection unless Accept took it over
    virtual void OnSend(int err);    // the system takes data again
    virtual void OnConnect(int err); // the connection stands, or with an error is closed
    virtual void OnClose(int err);   // the peer closed
    virtual void OnReceive(int err); // there is something to read

    // Keeps both for Listen and for the layer above; no system call. Returns 1.
    int Create(int listen_port, int use_ssl);

    // Waits for one connection on `port`, any address. Closes what is open, binds for up to 5 seconds, listens. Returns
    // 1, or 0 behind a report. The three steps it is made of are there for a caller that must not hold a lock while the
    // port isn't free yet: Bind_Listener is the slow one; it touches no object, and of all errors the last one.
    int Listen();
    void Close_Before_Listen();
    // A socket bound to `listen_port`, or -1 behind a report. `go_on` is asked between two tries; null stands for yes.
    static int Bind_Listener(int listen_port, bool (*go_on)(void* context), void* context);
    int Listen_On(int bound_socket); // takes the socket, also when it fails

    // To a dotted address. Returns 1 if the connection stood at once. With 0, GetLastError tells whether it is under
    // way (EAGAIN) or failed; an address of 0 is refused with a report and EINVAL.
    int Connect(const char* ip, int connect_port);

    // Gives the connection that was just accepted to `target` and its peer's address to `addr`. Returns 0 if there is
    // none. Closes what `target` has open; `target` may be the listening socket itself.
    int Accept(DAsyncSocket& target, sockaddr* addr, int* addr_len);

    int ShutDown(int how);

    // Returns 0 if the system's close failed, else 1. There is no socket afterwards in either case.
    int Close();

    // Bytes moved, or -1. A peer that closed looks like a failed read with GetLastError 0; the next Sock_Check calls
    // OnClose. A send that the system refuses for now (EAGAIN) brings OnSend later. A broken connection raises no
    // signal. A negative length fails with EINVAL, and so does reading 0 bytes, which would look like a peer that
    // closed.
    int Receive(void* buf, int len);
    int Send(const void* buf, int len);

    static int GetLastError() { return last_error.load(std::memory_order_relaxed); }
    [[nodiscard]] int get_socketssl() const { return socketssl; }
    [[nodiscard]] int Get_Sockfd() const { return sockfd; }
    [[nodiscard]] int Get_Listen_Port() const { return port; }

    // The texts need INET_ADDRSTRLEN bytes; ports are in host order. On failure the text is empty and the port 0,
    // behind a report.
    int GetSockName(sockaddr* addr, int* addr_len);
    void GetSockName(char* ip, unsigned short& name_port);
    void GetPeerName(char* ip, unsigned short& name_port);

    // A look without waiting: above 0 for yes, 0 for no, -1 if the look failed.
    [[nodiscard]] int CouldSend() const;
    [[nodiscard]] int CouldReceive() const;
    [[nodiscard]] int AnyError() const;

    int SockErr(); // the socket's pending error, cleared by reading; 0 behind a report if it can't be read

    // `look_for_data` false leaves out the look for something to read, for a caller that has just read all there was.
    void Sock_Check(bool look_for_data = true);

protected:
    // Bits of wstate.
    static constexpr int state_listening = 1;
    static constexpr int state_connecting = 2;
    static constexpr int state_send_refused = 4;
    static constexpr int state_peer_closed = 8;
    static constexpr int state_no_socket = 16;
    static constexpr int state_never_set = 64; // suppresses reading as well

    static void Set_Last_Error(int error) { last_error.store(error, std::memory_order_relaxed); }

    int port = 0;
    int sockfd = -1;
    int newfd = -1; // just accepted
    int wstate = state_no_socket;
    int accepted = 0; // Accept took newfd over
    int socketssl = 0;
    sockaddr_in their_addr{};

private:
    friend class DAsyncSocket_Test_Access;

    void Check_Listening();
    void Check_Connecting();
    void Check_Connected(bool look_for_data);
    void Offer_Connection(int connection, const sockaddr_in& peer); // takes it, also when it fails
    void Close_New();
    static int Open_Socket(); // -1 behind a report
    static int Take_Errno();  // becomes the last error

    static std::atomic<int> last_error;
};
