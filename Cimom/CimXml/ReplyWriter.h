// The body of a response, from its first element to its last.
#pragma once

#include "CimXml/Encode.h"
#include "CimXml/Service.h"

#include <Pegasus/Common/Array.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace cimom
{

/// Writes the body of one response: the elements around the result, and the result or the error in
/// its place. A long result is written in pieces, as the transport sends them.
class ReplyWriter
{
public:
    /// Writes the response element `tag` for the request of that message ID and the operation or
    /// method of that name. What `writeResult()` throws becomes the ERROR element in place of the
    /// result, except for RequestError, which passes.
    void writeResponse(const std::string& messageId, const std::string& tag,
                       const std::string& name, const std::function<void()>& writeResult);
    /// Writes IRETURNVALUE around what `writeContent()` writes; without content only if `isAlways`.
    void writeReturnValue(bool isAlways, const std::function<void()>& writeContent);

    /// For the elements of the result.
    xml::Encoder& encoder() { return encoder_; }
    void write(const std::string& text) { text_ += text; }
    /// Writes each item by `writeItem(item)`: those of the first piece now, the rest later.
    /// Releases each as soon as it is written. The items have to be the last elements of the
    /// result.
    template <class Item, class WriteItem>
    void writeEach(Pegasus::Array<Item> items, WriteItem writeItem)
    {
        writeMore_ = [this, items, writeItem, i = Pegasus::Uint32(0)]() mutable {
            const std::size_t enough = text_.size() + pieceSize;
            for (; i < items.size() && text_.size() < enough; ++i) {
                writeItem(items[i]);
                items[i] = Item();
            }
            return i < items.size();
        };
        items.clear();  // so that the writer alone has them
        if (!writeMore_()) writeMore_ = nullptr;
    }

    /// The reply with the first piece of the body, and with the writer if there are more.
    static CimReply reply(std::shared_ptr<ReplyWriter> writer);

private:
    static constexpr std::size_t pieceSize = 64 * 1024;

    void finish(const std::string& end);
    bool next(std::string& out);

    std::string text_;  // of the piece that is written
    xml::Encoder encoder_{text_};
    std::function<bool()> writeMore_;  // writes another piece of the result; false after the last
    std::string end_;                  // what follows the last piece
    bool isDenied_ = false;            // for want of a privilege
};

}  // namespace cimom
