#include "tools/recognition.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include "tools/file_reader.h"
#include "tools/record.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

// `rrdtool create` takes no earlier time, at the end of 1979.
constexpr std::uint64_t USUAL_TIME = 315360000;
constexpr std::uint64_t MAX_TIME = std::numeric_limits<std::uint32_t>::max();  // in 2106
constexpr std::uint64_t LARGEST_COUNT = 1 << 27;                               // rows of 1 GiB
constexpr std::uint64_t MICROSECONDS = 1000000;
constexpr std::uint64_t UNUSED_SIZES[] = {0, 4, 8};

std::string ToText(std::uint64_t number) { return std::to_string(number); }

// How far the bytes of a file agree with one layout.
enum class Agreement {
  None,      // its float cookie does not
  Cookie,    // its counts do not
  Counts,    // its size does not
  Size,      // its content does not
  Content,   // it is not as RRDtool writes it
  Complete,  // in all
};

// The first bytes of a file, enough for the first structure of every machine.
using FileHead = std::array<unsigned char, MAX_STRUCTURE_SIZE>;

// Reads a file as if it had one layout, from the beginning to the first contradiction.
class Examination {
 public:
  Examination(int fd, std::uint64_t fileSize, const FileHead& head, const Version& version,
              const Machine& machine)
      : machine(machine), liveHead(version.liveHead), fd(fd), fileSize(fileSize) {
    file.layout = machine.layout;
    file.version = version.name;
    if (!HasFloatCookie(Record(machine, STAT_HEAD, head.data()))) {
      return;
    }
    agreement = Agreement::Cookie;
    if (!HasCounts() || !HasArchives()) {
      return;
    }
    agreement = Agreement::Counts;
    if (!HasSize()) {
      return;
    }
    agreement = Agreement::Size;
    if (HasDataSources() && HasLiveHead() && HasReadings() && HasRowsInUse()) {
      agreement = isUsual ? Agreement::Complete : Agreement::Content;
    }
  }

  const Machine& GetMachine() const { return machine; }
  Agreement GetAgreement() const { return agreement; }
  const std::string& GetContradiction() const { return contradiction; }
  bool IsCutOff() const { return isCutOff; }
  const RecognisedFile& GetFile() const { return file; }

 private:
  bool Require(bool isRight, const std::string& problem) {
    contradiction = isRight ? contradiction : problem;
    return isRight;
  }

  // The same for what the header has more of than the file: the end of the file was cut off, unless
  // the count is damaged itself.
  bool RequireWhole(bool isWhole, std::uint64_t count, const std::string& problem) {
    isCutOff = !isWhole && count <= LARGEST_COUNT;
    return Require(isWhole, problem);
  }

  bool ReadRecord(FileReader& reader, const Structure& structure, const unsigned char*& bytes) {
    bytes = reader.Read(SizeOf(machine, structure));
    return Require(bytes != nullptr, "it cannot be read");
  }

  bool CheckTexts(const Record& record, const char* name) {
    isUsual = isUsual && record.AreTextsClean();
    const std::string text = std::string("a text of its ") + name;
    return Require(record.AreTextsTerminated(), text + " has no end") &&
           Require(record.AreTextsPlausible(), text + " is not printable");
  }

  bool HasFloatCookie(const Record& head) {
    std::uint64_t floatCookie = 0;
    std::memcpy(&floatCookie, &FLOAT_COOKIE, sizeof floatCookie);
    file.dsCount = head.GetNumber("ds_cnt");
    file.rraCount = head.GetNumber("rra_cnt");
    file.step = head.GetNumber("pdp_step");
    return head.GetNumber("float_cookie") == floatCookie;
  }

  // The size of the file bounds the counts, so that no product of them wraps.
  bool HasCounts() {
    const std::uint64_t dsCount = file.dsCount;
    const std::uint64_t rraCount = file.rraCount;
    const std::uint64_t cdpCount = fileSize / SizeOf(machine, CDP_PREP);
    const std::string counts = "it has " + ToText(dsCount) + " data sources and " +
                               ToText(rraCount) + " archives in " + ToText(fileSize) + " bytes";
    return Require(dsCount != 0 && rraCount != 0, counts) &&
           RequireWhole(
               dsCount <= cdpCount && rraCount <= cdpCount / dsCount && GetHeaderSize() <= fileSize,
               std::max(dsCount, rraCount), counts) &&
           Require(file.step != 0, "its step is 0");
  }

  std::uint64_t GetRraDefOffset() const {
    return SizeOf(machine, STAT_HEAD) + file.dsCount * SizeOf(machine, DS_DEF);
  }

  std::uint64_t GetLiveHeadOffset() const {
    return GetRraDefOffset() + file.rraCount * SizeOf(machine, RRA_DEF);
  }

  std::uint64_t GetRraPtrOffset() const {
    return GetLiveHeadOffset() + SizeOf(machine, liveHead) +
           file.dsCount * SizeOf(machine, PDP_PREP) +
           file.dsCount * file.rraCount * SizeOf(machine, CDP_PREP);
  }

  std::uint64_t GetHeaderSize() const {
    return GetRraPtrOffset() + file.rraCount * SizeOf(machine, RRA_PTR);
  }

  bool HasArchives() {
    const std::uint64_t maxRowCount = fileSize / VALUE_SIZE / file.dsCount;
    FileReader reader(fd, GetRraDefOffset());
    const unsigned char* bytes = nullptr;
    for (std::uint64_t rra = 0; rra < file.rraCount; ++rra) {
      if (!ReadRecord(reader, RRA_DEF, bytes)) {
        return false;
      }
      const Record archive(machine, RRA_DEF, bytes);
      const std::uint64_t rowCount = archive.GetNumber("row_cnt");
      const std::string name = "archive " + ToText(rra);
      const std::string rows =
          name + " has " + ToText(rowCount) + " rows in " + ToText(fileSize) + " bytes";
      if (!Require(rowCount != 0, rows) ||
          !RequireWhole(rowCount <= maxRowCount - file.rowCount, rowCount, rows) ||
          !Require(archive.GetNumber("pdp_cnt") != 0, name + " has rows of 0 steps") ||
          !CheckTexts(archive, name.c_str())) {
        return false;
      }
      file.rowCount += rowCount;
    }
    return true;
  }

  bool HasSize() {
    const std::uint64_t needed = GetHeaderSize() + file.rowCount * file.dsCount * VALUE_SIZE;
    file.unusedSize = fileSize - needed;
    const std::string sizes = "it needs " + ToText(needed) + " bytes but has " + ToText(fileSize);
    return RequireWhole(needed <= fileSize, file.rowCount, sizes) &&
           Require(std::find(std::begin(UNUSED_SIZES), std::end(UNUSED_SIZES), file.unusedSize) !=
                       std::end(UNUSED_SIZES),
                   sizes);
  }

  bool HasTexts(const Structure& structure, std::uint64_t offset, const char* name) {
    FileReader reader(fd, offset);
    const unsigned char* bytes = nullptr;
    for (std::uint64_t ds = 0; ds < file.dsCount; ++ds) {
      if (!ReadRecord(reader, structure, bytes) ||
          !CheckTexts(Record(machine, structure, bytes), name)) {
        return false;
      }
    }
    return true;
  }

  bool HasDataSources() { return HasTexts(DS_DEF, SizeOf(machine, STAT_HEAD), "data sources"); }

  bool HasReadings() {
    return HasTexts(PDP_PREP, GetLiveHeadOffset() + SizeOf(machine, liveHead), "last readings");
  }

  bool HasLiveHead() {
    FileReader reader(fd, GetLiveHeadOffset());
    const unsigned char* bytes = nullptr;
    if (!ReadRecord(reader, liveHead, bytes)) {
      return false;
    }
    const Record record(machine, liveHead, bytes);
    file.lastUpdate = record.GetNumber("last_up");
    isUsual = isUsual && file.lastUpdate >= USUAL_TIME;
    const std::uint64_t microseconds = record.GetNumber("last_up_usec");
    return Require(file.lastUpdate <= MAX_TIME, "the time of its last update, " +
                                                    ToText(file.lastUpdate) +
                                                    ", lies before 1970 or after 2106") &&
           Require(microseconds < MICROSECONDS,
                   "its last update has " + ToText(microseconds) + " microseconds");
  }

  bool HasRowsInUse() {
    FileReader archives(fd, GetRraDefOffset());
    FileReader pointers(fd, GetRraPtrOffset());
    const unsigned char* archive = nullptr;
    const unsigned char* pointer = nullptr;
    for (std::uint64_t rra = 0; rra < file.rraCount; ++rra) {
      if (!ReadRecord(archives, RRA_DEF, archive) || !ReadRecord(pointers, RRA_PTR, pointer)) {
        return false;
      }
      const std::uint64_t rowCount = Record(machine, RRA_DEF, archive).GetNumber("row_cnt");
      const std::uint64_t row = Record(machine, RRA_PTR, pointer).GetNumber("cur_row");
      if (!Require(row < rowCount, "the current row of archive " + ToText(rra) + " is " +
                                       ToText(row) + " of " + ToText(rowCount))) {
        return false;
      }
    }
    return true;
  }

  const Machine& machine;
  const Structure& liveHead;
  int fd;
  std::uint64_t fileSize;
  RecognisedFile file;
  Agreement agreement = Agreement::None;
  bool isUsual = true;
  bool isCutOff = false;
  std::string contradiction;
};

using Examinations = std::vector<Examination>;

std::string JoinContradictions(const Examinations& examinations, Agreement agreement) {
  std::string text;
  for (const Examination& examination : examinations) {
    if (examination.GetAgreement() == agreement) {
      text += std::string(text.empty() ? "" : "; ") + "as " + examination.GetMachine().name + ", " +
              examination.GetContradiction();
    }
  }
  return text;
}

// The layouts in which the file has lost its end; none where it is too long in another one.
Examinations FindCutOff(const Examinations& examinations, Agreement best) {
  Examinations found;
  for (const Examination& examination : examinations) {
    if (examination.GetAgreement() == best && examination.IsCutOff()) {
      found.push_back(examination);
    } else if (examination.GetAgreement() == Agreement::Counts) {
      return {};
    }
  }
  return found;
}

// Two layouts of the same size are told apart by content that is plausible in only one of them.
std::string Decide(const Examinations& fitting, RecognisedFile& file) {
  const Agreement needed = fitting.size() > 1 ? Agreement::Complete : Agreement::Content;
  const auto isRight = [&](const Examination& examination) {
    return examination.GetAgreement() >= needed;
  };
  // unreached: two layouts with which a file agrees in all
  const auto right = std::find_if(fitting.begin(), fitting.end(), isRight);
  if (right != fitting.end() && std::count_if(fitting.begin(), fitting.end(), isRight) == 1) {
    file = right->GetFile();
    return "";
  }
  if (fitting.size() == 1) {
    return JoinContradictions(fitting, Agreement::Size);
  }
  std::string names;
  for (const Examination& examination : fitting) {
    const std::string& contradiction = examination.GetContradiction();
    names += std::string(names.empty() ? "" : " or ") + examination.GetMachine().name +
             (examination.GetFile().unusedSize == 0 ? "" : " with an unused word") +
             (contradiction.empty() ? "" : " (" + contradiction + ")");
  }
  return "it may be " + names;
}

// Reads the head and finds the version, or a fault that is one in every layout.
std::string ReadHead(int fd, FileHead& head, const Version*& version) {
  const ssize_t size = pread64(fd, head.data(), head.size(), 0);
  if (size < static_cast<ssize_t>(SizeOf(GetMachine(Layout::I386), STAT_HEAD))) {
    return "it is too short for the header of an RRD file";
  }
  const auto* const text = reinterpret_cast<const char*>(head.data());
  if (std::memcmp(text, COOKIE, sizeof COOKIE) != 0) {
    return "Not an RRD file (bad cookie)";
  }
  constexpr std::size_t VERSION_SIZE = 5;
  const char* const name = text + sizeof COOKIE;
  version = FindVersion({name, strnlen(name, VERSION_SIZE)});
  return version != nullptr ? ""
                            : "Unsupported RRD version: " + std::string(name, strnlen(name, 4));
}

}  // namespace

std::string RecogniseLayout(int fd, std::uint64_t fileSize, RecognisedFile& file,
                            std::vector<Layout>& cutOff) {
  FileHead head{};
  const Version* version = nullptr;
  std::string problem = ReadHead(fd, head, version);
  if (version == nullptr) {
    const bool hasCookie = std::memcmp(head.data(), COOKIE, sizeof COOKIE) == 0;
    for (const Machine& machine : LAYOUTS) {
      if (hasCookie && fileSize < SizeOf(machine, STAT_HEAD)) {
        cutOff.push_back(machine.layout);
      }
    }
    return problem;
  }
  Examinations examinations;
  for (const Machine& machine : LAYOUTS) {
    examinations.emplace_back(fd, fileSize, head, *version, machine);
  }
  Agreement best = Agreement::None;
  for (const Examination& examination : examinations) {
    best = std::max(best, examination.GetAgreement());
  }
  if (best == Agreement::None) {
    return "its float cookie is in no known place";
  }
  if (best < Agreement::Size) {
    const Examinations shortened = FindCutOff(examinations, best);
    for (const Examination& examination : shortened) {
      cutOff.push_back(examination.GetMachine().layout);
    }
    return cutOff.empty() ? JoinContradictions(examinations, best)
                          : "it is cut off: " + JoinContradictions(shortened, best);
  }
  Examinations fitting;
  std::copy_if(examinations.begin(), examinations.end(), std::back_inserter(fitting),
               [](const Examination& e) { return e.GetAgreement() >= Agreement::Size; });
  return Decide(fitting, file);
}

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
