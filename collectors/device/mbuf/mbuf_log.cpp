#include "collectors/device/mbuf/mbuf_log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace zarn {
namespace {

constexpr std::size_t kPieceSize = std::size_t{32} << 10U;
// Ten lines of a word and a number, the longest of a name that fills its place in the record.
constexpr std::size_t kMostRecordText = 1024;

// Text in the making, in a place that is large enough for it.
class Piece {
public:
    [[nodiscard]] std::string_view Text() const { return {text_.data(), size_}; }
    [[nodiscard]] bool IsFull() const { return size_ > kPieceSize; }
    void Clear() { size_ = 0; }

    void Put(std::string_view text) {
        std::copy(text.begin(), text.end(), text_.data() + size_);
        size_ += text.size();
    }
    void PutLine(std::string_view name, std::uint64_t number) {
        Put(name);
        char* const end =
            std::to_chars(text_.data() + size_, text_.data() + text_.size(), number).ptr;
        *end = '\n';
        size_ = static_cast<std::size_t>(end + 1 - text_.data());
    }

private:
    std::array<char, kPieceSize + kMostRecordText> text_;  // not set beyond the size
    std::size_t size_ = 0;
};

void PutRecord(std::size_t id, const MbufRecord& record, Piece& piece) {
    piece.Put("================= TimeOutMbuf ================= \n");
    piece.PutLine("id: ", id);
    piece.Put("mbuf: ");
    piece.Put(MbufPointer(record.mbuf).Text());
    piece.PutLine("\ntimeStamp: ", record.timeStamp);
    piece.PutLine("allocPid: ", record.allocPid);
    piece.PutLine("usePid: ", record.usePid);
    piece.PutLine("useTime: ", record.useTime);
    piece.Put("poolName: ");
    piece.Put(record.poolName);
    piece.PutLine("\nblkSize: ", record.blkSize);
    piece.PutLine("totalBlkNum: ", record.totalBlkNum);
}

}  // namespace

void WriteMbufLog(const std::vector<MbufRecord>& records,
                  const std::function<void(std::string_view)>& take) {
    Piece piece;
    for (std::size_t i = 0; i < records.size(); ++i) {
        PutRecord(i, records[i], piece);
        if (piece.IsFull()) {
            take(piece.Text());
            piece.Clear();
        }
    }
    take(piece.Text());
}

}  // namespace zarn
