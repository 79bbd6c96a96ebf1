#include "simulation/server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

#include <csignal>
#include <cstring>
#include <stdexcept>

#include "support/child.h"

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

void AppendLines(const std::string& packed, std::vector<std::string>& lines) {
  const int fd = memfd_create("request", MFD_CLOEXEC);
  Require(write(fd, packed.data(), packed.size()) == static_cast<ssize_t>(packed.size()) &&
          lseek(fd, 0, SEEK_SET) == 0);
  gzFile file = gzdopen(fd, "rb");
  char line[1000];
  while (gzgets(file, line, sizeof line) != nullptr) {
    lines.emplace_back(line, std::strlen(line) - 1);
  }
  Require(gzclose_r(file) == Z_OK);
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
  const pid_t child = StartChild([&] {
    close(socket);
    return work();
  });
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
  run.status = WaitFor(child);
  return run;
}

}  // namespace nvx::TimeSeriesDatabase::Simulation
