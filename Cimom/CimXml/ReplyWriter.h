// The body of a response, from its first element to its last.
#pragma once

#include "CimXml/Encode.h"
#include "CimXml/Service.h"

#include <Pegasus/Common/Array.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

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
    /// Writes IRETURNVALUE around what `writeContent()` writes, if it writes anything, and the
    /// output parameters after it.
    void writeReturnValue(const std::function<void()>& writeContent);
    /// The element is there even without content. To be called by `writeContent()`.
    void keepEmptyReturnValue() { keepsEmptyReturnValue_ = true; }
    /// An output parameter. To be called by `writeContent()`.
    void addOutputParameter(const std::string& name, const std::string& value);

    /// For the elements of the result.
    xml::Encoder& encoder() { return encoder_; }
    /// Elements of the result as text.
    void write(std::string_view elements) { text_ += elements; }
    /// Writes the element of each item: those of the first piece now, the rest later. Releases each
    /// as soon as it is written. The items have to be the last elements of the result.
    template <class Item>
    void writeEach(Pegasus::Array<Item> items, void (xml::Encoder::*writeItem)(const Item&))
    {
        writeMore_ = [this, items, writeItem, i = Pegasus::Uint32(0)]() mutable {
            const std::size_t enough = text_.size() + pieceSize;
            for (; i < items.size() && text_.size() < enough; ++i) {
                (encoder_.*writeItem)(items[i]);
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
    bool keepsEmptyReturnValue_ = false;
    std::string outputParameters_;
    std::string end_;        // what follows the last piece
    bool isDenied_ = false;  // for want of a privilege
};

}  // namespace cimom
