// The client of Redis servers with a real server and with a port where something else answers, and
// the command with that client.

#include "nvx/workstation/redis_client.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <hiredis/hiredis.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <tuple>
#include <vector>

#include "support/log_capture.h"
#include "support/redis_server.h"
#include "support/shell.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "support/transcript.h"

using nv::kora::StatusCode;
using nvx::Workstation::RedisAddress;
using nvx::Workstation::RedisClient;

namespace {

const RedisClient::Timeouts SHORT = {std::chrono::milliseconds(200),
                                     std::chrono::milliseconds(200)};
const RedisClient::Timeouts LONG = {std::chrono::minutes(1), std::chrono::minutes(1)};

RedisAddress At(const std::string& url) {
  RedisAddress address;
  std::string problem;
  EXPECT_EQ(RedisAddress::Parse(url, address, problem), StatusCode::Success) << problem;
  return address;
}

TEST(RedisAddress, ReadsTwoFormsOfAnUrl) {
  ForEachRow("redis_urls.txt", [](const Row& row) {
    for (const std::string& url : SplitFields(row["urls"], ';')) {
      RedisAddress address;
      std::string problem;
      const StatusCode status = RedisAddress::Parse(url, address, problem);
      const bool isRead = status == StatusCode::Success;
      EXPECT_EQ(isRead ? address.ToText() : problem, row["address or problem"]) << url;
      EXPECT_EQ(address.password, row["password"]) << url;
      EXPECT_EQ(status, isRead ? StatusCode::Success : StatusCode::InvalidArgument) << url;
    }
  });
  RedisAddress address;
  std::string problem;
  EXPECT_NE(RedisAddress::Parse("unix:///" + std::string(107, 'x'), address, problem),
            StatusCode::Success);
}

class RealRedis : public testing::Test {
 protected:
  void SetUp() override {
    if (RedisServer::GetProgram().empty()) {
      GTEST_SKIP() << "redis-server cannot be had here: see scripts/fetch-server";
    }
  }

  // Any command, on a connection of its own.
  void Command(const char* command) const {
    redisContext* const context = redisConnectUnix(socket.c_str());
    auto* const reply = static_cast<redisReply*>(redisCommand(context, command));
    EXPECT_TRUE(reply != nullptr && reply->type != REDIS_REPLY_ERROR) << command;
    freeReplyObject(reply);
    redisFree(context);
  }

  // The result of HashGet: a value, or the code and the reason.
  static std::string Get(RedisClient& client, const std::string& key, const std::string& field) {
    std::string value;
    std::string problem;
    const StatusCode status = client.HashGet(key, field, value, problem);
    return status == StatusCode::Success ? value
                                         : std::to_string(static_cast<int>(status)) + " " + problem;
  }

  static void Set(RedisClient& client, const std::string& field, const std::string& value) {
    std::string problem;
    EXPECT_EQ(client.HashSet("hash", {{field, value}, {"f", "60"}}, problem), StatusCode::Success)
        << problem;
  }

  TemporaryDirectory directory;
  std::string socket = directory.GetPath("socket");
  std::string url = "unix://" + socket;
};

TEST_F(RealRedis, AnswersByFieldAndType) {
  const RedisServer server(socket);
  Command("SET text 60");
  RedisClient client(At(url), LONG);
  std::string large(4000, '\0');
  for (std::size_t i = 0; i < large.size(); ++i) {
    large[i] = static_cast<char>(i * i >> 7);
  }
  Set(client, "large \n", large);
  EXPECT_TRUE(Get(client, "hash", "large \n") == large);
  Set(client, "too large", std::string(5000, 'x'));
  EXPECT_TRUE(Get(client, "hash", "too large") == "3 " + url + ": its answer is too long");
  EXPECT_EQ(Get(client, "hash", "f"), "60");
  EXPECT_EQ(Get(client, "hash", ""), "2 ");
  EXPECT_EQ(Get(client, "none", "f"), "2 ");
  const std::string wrongType = url + ": WRONGTYPE";
  EXPECT_EQ(Get(client, "text", "f").substr(0, 3 + wrongType.size()), "28 " + wrongType);
  std::string problem;
  EXPECT_EQ(client.HashSet("text", {{"f", "60"}}, problem), StatusCode::InvalidArgument);
  EXPECT_EQ(Get(client, "hash", "f"), "60");
}

TEST_F(RealRedis, MayBeRestartedAtAnyTime) {
  RedisServer server(socket);
  RedisClient client(At(url), LONG);
  Set(client, "f", "60");
  server.Restart();
  EXPECT_EQ(Get(client, "hash", "f"), "2 ");
  server.Kill();
  EXPECT_EQ(Get(client, "hash", "f"), "3 " + url + ": Connection refused");
  unlink(socket.c_str());
  EXPECT_EQ(Get(client, "hash", "f"), "3 " + url + ": No such file or directory");
  server.Restart();
  Set(client, "f", "60");
  EXPECT_EQ(Get(client, "hash", "f"), "60");
}

TEST_F(RealRedis, NeverShowsThePassword) {
  const RedisServer server(socket, {"--requirepass", "s@fe"});
  const auto get = [this](const std::string& password) {
    RedisClient client(At("unix://" + password + socket), LONG);
    LogCapture log(6);
    std::string value;
    const StatusCode status = client.HashGet("hash", "f", value);
    const Lines lines = log.Take();
    return std::to_string(static_cast<int>(status)) + (lines.empty() ? "" : " " + lines[0]);
  };
  const std::string line = "3 6[Workstation::RedisClient] HashGet: " + url;
  EXPECT_EQ(get(":s%40fe@"), "2");
  EXPECT_EQ(get(":wrong@"), line + ": refuses the password (WRONGPASS)");
  EXPECT_EQ(get(""), line + ": NOAUTH Authentication required.");
}

TEST_F(RealRedis, ServesEightThreadsAtOnce) {
  const RedisServer server(socket);
  RedisClient client(At(url), LONG);
  std::vector<std::thread> threads;
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([&client, field = std::to_string(number)] {
      for (int round = 0; round < 200; ++round) {
        const std::string value = field + std::string(static_cast<std::size_t>(round) * 20, 'x');
        Set(client, field, value);
        EXPECT_EQ(Get(client, "hash", field), value);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// Steps of the transcript are commands for the shell or for the server ("redis ..."), or end it.
TEST_F(RealRedis, IsTheMetadataStoreOfTheCommand) {
  RedisServer server(socket);
  const Shell shell;
  const std::string store = "export NVX_TIMESERIES_METADATA_STORE=" + url + "\n";
  const std::string name = TEST_DATA "/metadata_store.txt";
  for (const Step& step : ReadTranscript(name)) {
    if (step.command.rfind("redis ", 0) == 0) {
      Command(step.command.c_str() + std::strlen("redis "));
      continue;
    }
    if (step.command == "kill the server") {
      server.Kill();
      continue;
    }
    std::string answer = Show(shell.Run(store + step.command));
    for (std::size_t at; (at = answer.find(url)) != std::string::npos;) {
      answer.replace(at, url.size(), "URL");
    }
    ExpectAnswer(name, step, answer);
  }
}

// Listens on a port of its own, sends a text to the first that connects, and the next one whenever
// it receives something, or `more` over and over, until that one leaves.
class StrangeServer {
 public:
  explicit StrangeServer(const std::vector<std::string>& texts, const std::string& more = "")
      : listener(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    listen(listener, 8);
    place = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    thread = std::thread([this, texts, more] { Serve(texts, more); });
  }
  StrangeServer(const StrangeServer&) = delete;
  StrangeServer& operator=(const StrangeServer&) = delete;
  ~StrangeServer() {
    Finish();
    close(listener);
  }

  // The text that was received, once the client has left.
  std::string Finish() {
    if (thread.joinable()) {
      thread.join();
    }
    return received;
  }

  std::string place;

 private:
  void Serve(const std::vector<std::string>& texts, const std::string& more) {
    const int client = accept(listener, nullptr, nullptr);
    char buffer[4096];
    auto text = texts.begin();
    for (ssize_t size = 1; size != 0;) {
      const std::string& sent = text == texts.end() ? more : *text++;
      if (send(client, sent.data(), sent.size(), MSG_NOSIGNAL) == -1) {
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(more.empty() ? 0 : 20));
      size = recv(client, buffer, sizeof buffer, more.empty() ? 0 : MSG_DONTWAIT);
      received.append(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    close(client);
  }

  int listener;
  std::string received;
  std::thread thread;
};

TEST(RedisClient, RefusesStrangeAnswersAndWaitsOnlyOnce) {
  const std::string page(4096, 'x');
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"", "", "no answer in time"},
      {"$1000\r\n", "x", "no answer in time"},
      {"+", page, "its answer is too long"},
      {"$2000000000\r\n", page, "its answer is too long"},
      {"$2\r\n60\r\n$2\r\n60\r\n", "", "it answers more than was asked"},
      {"HTTP/1.1 400 Bad Request\r\n", "", "not the answer of a Redis server"},
      {"*0\r\n", "", "not the answer of a Redis server"},
      {"*100000000\r\n", "", "not the answer of a Redis server"},
      {"*1\r\n", page, "not the answer of a Redis server"},
      {"+OK\r\n", "", "not the answer of a Redis server"},
  };
  for (const auto& [sent, more, reason] : cases) {
    StrangeServer strange({sent}, more);
    RedisClient client(At("redis://" + strange.place), SHORT);
    std::string value = "before";
    std::string problem;
    EXPECT_EQ(client.HashGet("hash", "f", value, problem), StatusCode::Unavailable);
    EXPECT_EQ(problem, "redis://" + strange.place + ": " + reason) << sent;
    EXPECT_EQ(value, "before");
    if (reason == "no answer in time") {
      EXPECT_EQ(client.HashGet("hash", "f", value, problem), StatusCode::Unavailable);
      EXPECT_EQ(problem, "redis://" + strange.place + ": gave no answer in time a moment ago");
    }
  }
}

TEST(RedisClient, GivesPasswordAndDatabaseFirst) {
  StrangeServer server({"", "+OK\r\n", "+OK\r\n", "$2\r\n60\r\n"});
  {
    RedisClient client(At("redis://:a%20b@" + server.place + "/7"), SHORT);
    std::string value;
    EXPECT_EQ(client.HashGet("hash", "f", value), StatusCode::Success);
    EXPECT_EQ(value, "60");
  }
  EXPECT_EQ(server.Finish(),
            "*2\r\n$4\r\nAUTH\r\n$3\r\na b\r\n*2\r\n$6\r\nSELECT\r\n$1\r\n7\r\n"
            "*3\r\n$4\r\nHGET\r\n$4\r\nhash\r\n$1\r\nf\r\n");
}

}  // namespace
