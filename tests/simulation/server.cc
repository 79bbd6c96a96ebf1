#include "simulation/server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <csignal>
#include <sstream>
#include <stdexcept>

namespace nvx::TimeSeriesDatabase::Simulation {
namespace {

void Require(bool isTrue) {
  if (!isTrue) {
    throw std::runtime_error("the server cannot work");
  }
}

void Send(int connection, const std::string& text) {
  Require(send(connection, text.data(), text.size(), MSG_NOSIGNAL) > 0);
}

void Receive(int connection, std::string& text) {
  char part[65536];
  const ssize_t size = recv(connection, part, sizeof part, 0);
  Require(size > 0);
  text.append(part, static_cast<std::size_t>(size));
}

std::string ReceiveBody(int connection) {
  std::string text;
  while (text.find("\r\n\r\n") == std::string::npos) {
    Receive(connection, text);
  }
  if (text.find("Expect: 100-continue") != std::string::npos) {
    Send(connection, "HTTP/1.1 100 Continue\r\n\r\n");
  }
  const std::string key = "Content-Length: ";
  const std::size_t size = std::stoul(text.substr(text.find(key) + key.size()));
  text.erase(0, text.find("\r\n\r\n") + 4);
  while (text.size() < size) {
    Receive(connection, text);
  }
  return text;
}

void AppendLines(std::string packed, std::vector<std::string>& lines) {
  std::string text(4 << 20, '\0');  // more than a request has
  z_stream stream{};
  Require(inflateInit2(&stream, 16 + MAX_WBITS) == Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = reinterpret_cast<Bytef*>(text.data());
  stream.avail_out = static_cast<uInt>(text.size());
  Require(inflate(&stream, Z_FINISH) == Z_STREAM_END && inflateEnd(&stream) == Z_OK);
  std::istringstream input(text.substr(0, stream.total_out));
  for (std::string line; std::getline(input, line);) {
    lines.push_back(line);
  }
}

}  // namespace

Server::Server() : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const general = reinterpret_cast<sockaddr*>(&address);
  Require(bind(socket, general, size) == 0 && listen(socket, 8) == 0 &&
          getsockname(socket, general, &size) == 0);
  port = ntohs(address.sin_port);
}

Server::~Server() { close(socket); }

std::string Server::GetUrl() const { return "http://127.0.0.1:" + std::to_string(port) + "/write"; }

Server::Run Server::Serve(const std::function<int()>& work, int confirmedCount,
                          Answer answer) const {
  int life[2];  // of the child
  Require(pipe2(life, O_CLOEXEC) == 0);
  const pid_t child = fork();
  if (child == 0) {
    close(socket);
    _exit(work());
  }
  close(life[1]);
  Run run;
  pollfd events[] = {{socket, POLLIN, 0}, {life[0], POLLIN, 0}};
  for (int count = 0; poll(events, 2, -1) > 0 && events[0].revents != 0; ++count) {
    const int connection = accept4(socket, nullptr, nullptr, SOCK_CLOEXEC);
    const std::string body = ReceiveBody(connection);
    const Answer now = count < confirmedCount ? Answer::Confirmed : answer;
    run.isCutOff = now != Answer::Confirmed;
    if (now == Answer::Confirmed) {
      AppendLines(body, run.confirmed);
      Send(connection, "HTTP/1.1 204 No Content\r\nConnection: close\r\n\r\n");
    } else if (now == Answer::Unavailable) {
      Send(connection, "HTTP/1.1 503 So\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    } else if (now == Answer::Kill) {
      kill(child, SIGKILL);
    }
    close(connection);
  }
  close(life[0]);
  int status = 0;
  waitpid(child, &status, 0);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return run;
}

}  // namespace nvx::TimeSeriesDatabase::Simulation
