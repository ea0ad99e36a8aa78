#include "scpi/server.hpp"

#include <asio.hpp>
#include <csignal>
#include <cstring>
#include <memory>
#include <ostream>

namespace synthor::scpi {
namespace {

using asio::ip::tcp;

class Server;

// One client: its line assembly, its SCPI state and its unsent answers.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(tcp::socket socket, Server& server);
    void start() { read(); }

  private:
    void read();
    void drain();
    void consumeLine();
    void send(const std::string& answer);
    void flush();
    void close();

    tcp::socket socket_;
    Server& server_;
    ClientState state_;
    std::array<char, 8192> buffer_{};
    std::size_t begin_ = 0, end_ = 0;  // what of buffer_ is still to be taken
    std::string line_;
    bool discarding_ = false;  // inside a line longer than the limit
    std::string writing_;      // the answers being written
    std::string queued_;       // answers waiting for that write
    bool closed_ = false;
};

class Server {
  public:
    Server(Engine& e, const ServerOptions& o)
        : engine(e), options(o), acceptor_(io), signals_(io, SIGINT, SIGTERM), plugSignals_(io) {}

    int run(std::ostream& out, std::ostream& err) {
        try {
            const tcp::endpoint at(asio::ip::make_address(options.address), options.port);
            acceptor_.open(at.protocol());
            acceptor_.set_option(tcp::acceptor::reuse_address(true));
            acceptor_.bind(at);
            acceptor_.listen();
        } catch (const std::exception& e) {
            err << "synthor: cannot listen on " << options.address << " port " << options.port
                << ": " << e.what() << '\n';
            return 1;
        }
        out << "listening on " << acceptor_.local_endpoint() << std::endl;
        if (options.ready) options.ready(acceptor_.local_endpoint().port(), [this] { io.stop(); });
        signals_.async_wait([this](const asio::error_code&, int) { io.stop(); });
        if (options.plug) {
            plugSignals_.add(SIGUSR1);
            plugSignals_.add(SIGUSR2);
            waitPlug();
        }
        accept();
        io.run();
        return 0;
    }

    void closed() { --clients_; }

    asio::io_context io;
    Engine& engine;
    const ServerOptions& options;

  private:
    void accept() {
        acceptor_.async_accept([this](const asio::error_code& ec, tcp::socket socket) {
            if (!ec) {
                if (clients_ >= options.maxClients) {
                    // Refused at once: the connection is closed before anything is read.
                    asio::error_code ignored;
                    socket.close(ignored);
                } else {
                    ++clients_;
                    std::make_shared<Connection>(std::move(socket), *this)->start();
                }
            }
            accept();
        });
    }

    void waitPlug() {
        plugSignals_.async_wait([this](const asio::error_code& ec, int signal) {
            if (ec) return;
            options.plug(signal == SIGUSR2);
            waitPlug();
        });
    }

    tcp::acceptor acceptor_;
    asio::signal_set signals_;
    asio::signal_set plugSignals_;
    std::size_t clients_ = 0;
};

Connection::Connection(tcp::socket socket, Server& server)
    : socket_(std::move(socket)), server_(server) {
    asio::error_code ignored;
    socket_.set_option(tcp::no_delay(true), ignored);
    socket_.set_option(asio::socket_base::keep_alive(true), ignored);
}

void Connection::read() {
    socket_.async_read_some(asio::buffer(buffer_), [self = shared_from_this()](
                                                       const asio::error_code& ec, std::size_t n) {
        if (self->closed_) return;
        if (ec) {
            // A query cut off by the end of the input never runs.
            if (!self->line_.empty() && self->line_.find('?') != std::string::npos)
                self->state_.report(err::QueryUnterminated, {});
            return self->close();
        }
        self->begin_ = 0;
        self->end_ = n;
        self->drain();
    });
}

// Runs at most one line of what was read, then lets every other connection run one before
// going on: a client sending many commands at once takes turns with the others.
void Connection::drain() {
    if (closed_) return;
    consumeLine();
    if (begin_ < end_) {
        asio::post(socket_.get_executor(), [self = shared_from_this()] { self->drain(); });
    } else if (!closed_) {
        read();
    }
}

// Takes the bytes up to the next newline and runs the line if it is complete; a line past the
// limit is dropped as it arrives and reported when its newline comes.
void Connection::consumeLine() {
    const std::size_t limit = server_.options.maxLine;
    const char* p = buffer_.data() + begin_;
    const std::size_t n = end_ - begin_;
    const auto* nl = static_cast<const char*>(std::memchr(p, '\n', n));
    const std::size_t take = nl ? static_cast<std::size_t>(nl - p) : n;
    if (!discarding_) {
        if (line_.size() + take > limit) {
            discarding_ = true;
            std::string().swap(line_);
        } else {
            line_.append(p, take);
        }
    }
    begin_ += nl ? take + 1 : take;
    if (!nl) return;
    if (discarding_) {
        state_.report(err::InputOverrun,
                      "line longer than " + std::to_string(limit) + " bytes discarded");
        discarding_ = false;
    } else {
        std::optional<std::string> answer = server_.engine.execute(line_, state_);
        if (answer) send(*answer += '\n');
    }
    line_.clear();
}

// Answers wait while the client does not read; past the bound they are dropped, never
// piling up.
void Connection::send(const std::string& answer) {
    if (writing_.size() + queued_.size() + answer.size() > server_.options.maxUnreadAnswers) {
        state_.report(err::QueryInterrupted, "answer dropped: the client does not read");
        return;
    }
    queued_ += answer;
    if (writing_.empty()) flush();
}

void Connection::flush() {
    writing_.swap(queued_);
    queued_.clear();
    asio::async_write(socket_, asio::buffer(writing_),
                      [self = shared_from_this()](const asio::error_code& ec, std::size_t) {
                          self->writing_.clear();
                          if (self->closed_) return;
                          if (ec) return self->close();
                          if (!self->queued_.empty()) self->flush();
                      });
}

void Connection::close() {
    if (closed_) return;
    closed_ = true;
    asio::error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_both, ignored);
    socket_.close(ignored);
    server_.closed();
}

}  // namespace

int serve(Engine& engine, const ServerOptions& options, std::ostream& out, std::ostream& err) {
    Server server(engine, options);
    return server.run(out, err);
}

}  // namespace synthor::scpi
