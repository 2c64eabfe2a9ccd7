// One pass over the text: in each start condition the longest rule wins, and its action writes a cell, or two, or
// changes the cell before. There is no grammar; what a sentence means is settled by the stack when it runs.
#include "translator/scanner.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include "data/blocks.h"
#include "data/errors.h"
#include "translator/definitions.h"
#include "translator/emission.h"
#include "translator/literals.h"
#include "translator/names.h"
#include "translator/number_text.h"
#include "translator/source.h"
#include "translator/tokens.h"

namespace ondrel {
namespace {

// BREAK leaves the sentence where it is.
struct Left {};

enum class Condition { sentence, vector, shape, text, mask_word, address };

Condition condition;
Newline newline_means;
bool stuck;                            // the last step was left by an error
std::size_t open_literals;             // parentheses and quotes that are to be closed again
std::size_t refused_levels;            // of these, those that nothing is kept of
std::vector<std::int64_t> dimensions;  // of the shape being read

// The text of a token as it was typed: the token's own, unless there are gaps in it.
char* spelling(const TokenMatch& match) {
    const std::string_view typed = ahead(match.length);
    return typed == match.token->text ? match.token->text : stringdup(typed);
}

void emit_hidden(std::uint32_t tag, double value) {
    const DataElement scalar = constant(tag);
    DataElement& item = *items_of(scalar);
    item.form = form::selector;
    item.marks = mark::hidden;
    if (tag == tag::integer)
        item.integer = static_cast<std::int64_t>(value);
    else
        item.real = value;
    emit_value(scalar);
}

// ---- constants

DataElement named_item(const Token& token) {
    const TokenRow& row = *token.row;
    DataElement item{};
    item.name = stringdup(token.text);
    const double value = token.negated ? -row.value : row.value;
    if (row.action == TokenAction::real_constant) {
        item.head = make_head(tag::real, form::number, mark::named);
        item.real = value;
    } else {
        const std::uint16_t form = row.action == TokenAction::truth_constant ? form::boolean : form::selector;
        item.head = make_head(tag::integer, form, mark::named);
        item.integer = static_cast<std::int64_t>(value);
    }
    return item;
}

// The item of a number as it stands in a sentence, or among the items of a literal, where binary texts are integers.
DataElement matched_item(const NumberMatch& match, bool in_literal) {
    std::string_view text = ahead(match.length);
    if (match.form != NumberForm::binary && match.form != NumberForm::binary_character)
        return number_item(text, match.form);
    const bool character = match.form == NumberForm::binary_character;
    if (character) text = text.substr(1, text.size() - 2);
    const BinaryDigits digits = read_binary(text.substr(2), character ? 8 : 64);
    if (digits.cut) report(character ? message::character_cut : message::number_cut);
    const std::size_t plain_digits = digits.cut ? 0 : 9;  // a character of its code, no bits
    DataElement item{};
    if (character || (digits.written <= 8 && !in_literal)) {
        item.head = make_head(tag::ascii, digits.written == plain_digits ? form::unset : form::binary);
        item.ascii = static_cast<std::uint8_t>(digits.value);
    } else {
        item.head = make_head(tag::integer, form::binary);
        item.integer = static_cast<std::int64_t>(digits.value);
    }
    return item;
}

// A scalar cell of the item that `make` gives. The block stands before the item is made, so that neither is lost when
// there is no memory.
template <class Make>
void emit_scalar(Make make) {
    ItemsOwner items(1);
    *items.items = make();
    items.filled = 1;
    DataElement record{};
    record.type = ISSCALAR | kind_bits(items.items->tag);
    set_elements(record, 1);
    record.data_pointer = items.take();
    emit_value(record);
}

// ---- comments

void copy_out(std::size_t length) {
    const std::string_view bytes = ahead(length);
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    consume(length);
}

// A comment ends at the next double quote. A bracket closes it only if no quote comes any more; without either it is
// no comment, and its bytes go to the standard output like all that no rule takes.
void read_comment() {
    std::size_t at = 0, bracket = 0;
    bool bracketed = false;
    int c = 0;
    for (; (c = peek(at)) != '"' && c >= 0; ++at)
        if (c == 0xBC) {
            bracket = at;
            bracketed = true;
        }
    if (c < 0 && !bracketed) return copy_out(at);
    const std::size_t length = c < 0 ? bracket : at;
    const Taken taken{length + 1};
    emit_value(operator_cell(Instruction::NOOP, Instruction::CONTEXT, stringdup(ahead(length))));
}

// ---- literals

// Takes the bytes that open a level, and opens it or counts it as refused: 807, and nothing of the sentence is kept.
void begin_level(std::size_t length, bool (*open)(), Condition inside) {
    consume(length);
    condition = inside;
    ++open_literals;
    if (refused_levels == 0 && open()) return;
    if (refused_levels++ == 0) overflow();
}

void end_level() {
    if (refused_levels > 0) {
        --refused_levels;
        return;
    }
    DataElement literal;
    if (close_level(literal)) emit_value(literal);
}

void take_level_end(std::size_t length) {
    consume(length);
    condition = --open_literals == 0 ? Condition::sentence : Condition::vector;
}

void begin_shape(std::size_t length) {
    consume(length);
    dimensions.clear();
    condition = Condition::shape;
}

// Blanks from `at` on, newlines too if they may stand there, and then an opening bracket: where it ends, else 0.
std::size_t shape_follows(std::size_t at, bool newlines) {
    for (int c; (c = peek_in_line(at)) == ' ' || c == '\t' || (newlines && (c == '\n' || c == '\r')); ++at) {
    }
    return peek_in_line(at) == '[' ? at + 1 : 0;
}

// Blanks are skipped in the shape of the whole literal only.
void scan_shape() {
    if (const NumberMatch match = match_integer(); match.length > 0) {
        const DataElement item = number_item(ahead(match.length), match.form);
        consume(match.length);
        if (item.tag == tag::real)
            report(message::shape_too_big);
        else if (refused_levels == 0)
            dimensions.push_back(item.integer);
    } else if (peek(0) == ']') {
        take_level_end(1);
        if (refused_levels == 0) close_shape(dimensions, {nullptr, cursor});
        end_level();
    } else if ((peek(0) == ' ' || peek(0) == '\t') && !inside_another()) {
        consume(1);
    } else {
        copy_out(1);
    }
}

void scan_text() {
    const int c = peek(0);
    if (c == '\'' && peek(1) != '\'') {
        if (const std::size_t shape = shape_follows(1, true)) return begin_shape(shape);
        take_level_end(1);
        return end_level();
    }
    if (c == '"') return copy_out(1);
    if (c == '`')
        if (const NumberMatch match = match_number(true); match.form == NumberForm::binary_character) {
            const DataElement item = matched_item(match, true);
            if (refused_levels == 0) add_character(item.ascii, item.form == form::binary);
            return consume(match.length);
        }
    if (refused_levels == 0) add_character(static_cast<std::uint8_t>(c), false);
    consume(c == '\'' ? 2 : 1);
}

template <class Make>
void add_to_literal(Make make) {
    if (refused_levels > 0) return;
    add_item(make());
}

// A quote among the items: one character between quotes is an item of its own, anything else a nested text.
void scan_quote() {
    std::size_t length = 0;
    if (peek(1) == '\'' && peek(2) == '\'')
        length = peek(3) == '\'' ? 4 : 3;
    else if (peek(1) >= 0 && peek(1) != '\'' && peek(1) != '\n' && peek(2) == '\'')
        length = 3;
    if (length == 0) return begin_level(1, open_text, Condition::text);
    DataElement item{};
    item.head = make_head(tag::ascii, form::unset);
    item.ascii = static_cast<std::uint8_t>(peek(1));
    add_to_literal([&] { return item; });
    consume(length);
}

void scan_vector() {
    const int c = peek(0);
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') return consume(1);
    if (c == '(') return begin_level(1, open_vector, Condition::vector);
    if (c == ')') {
        const std::size_t closed = peek(1) == '`' ? 2 : 1;
        if (const std::size_t shape = shape_follows(closed, false)) return begin_shape(shape);
        take_level_end(closed);
        return end_level();
    }
    if (c == '\'') return scan_quote();
    std::int64_t integer = 0;
    if (const std::size_t length = match_digits(integer); length > 0) {
        if (refused_levels == 0) add_integer(integer);
        return consume(peek(length) == ' ' ? length + 1 : length);
    }
    const NumberMatch number = match_number(false);
    const TokenMatch constant = match_token(Vocabulary::constants);
    if (constant.weight > number.length) {
        add_to_literal([&] { return named_item(*constant.token); });
        consume(constant.length);
    } else if (number.length > 0) {
        add_to_literal([&] { return matched_item(number, true); });
        consume(number.length);
    } else {
        copy_out(1);
    }
}

// WRAP and REFLECT have taken hold of the cell at the cursor and wait for the MASK that they modify.
void scan_mask_word() {
    const int c = peek(0);
    if (c == ' ' || c == '\t' || c == '\r') return consume(1);
    if (c == '\n') return copy_out(1);
    condition = Condition::sentence;
    const TokenMatch match = match_token(Vocabulary::sentence);
    if (match.token == nullptr || std::string_view(match.token->text) != "MASK") {
        report(message::modifier_not_for_verb);
        dereferencepoint(*cursor);
        *cursor = {};
        return;
    }
    grow_text(*cursor, match.token->text);
    consume(match.length);
    const DataElement modifier = std::exchange(*cursor, DataElement{});
    oper(modifier.text, Instruction::MASK, static_cast<Instruction>(modifier.modifier));
}

// ---- sentences

// True at a sentence end.
bool act(const TokenMatch& match) {
    const Token& token = *match.token;
    const TokenRow& row = *token.row;
    switch (row.action) {
        case TokenAction::instruction: oper(spelling(match), row.instruction, row.second); break;
        case TokenAction::selector:
            emit_hidden(tag::integer, row.value);
            oper(token.text, row.instruction);
            break;
        case TokenAction::exponent:
            emit_hidden(tag::real, row.value);
            oper(token.text, row.instruction);
            break;
        case TokenAction::pair:
            if (oper(token.text, row.instruction))
                emit_value(operator_cell(row.second, Instruction::NIHIL, stringdup("")));
            break;
        case TokenAction::combine: combine(token.text, row.instruction); break;
        case TokenAction::condition: make_conditional(token.text, row.instruction); break;
        case TokenAction::modify_mask:
            if (is_shadowed(token.text)) {
                oper(token.text, Instruction::NIHIL);
                break;
            }
            cursor->text = token.text;
            cursor->modifier = static_cast<std::uint16_t>(row.instruction);
            condition = Condition::mask_word;
            break;
        case TokenAction::run:
            // In a body it is one more cell, whatever has made the system stop before.
            if (!is_shadowed(token.text) && (inside_function() || !std::exchange(stepping, false)))
                emit_value(operator_cell(row.instruction, row.second, token.text));
            ondrel_op = false;
            break;
        case TokenAction::leave:
            if (is_shadowed(token.text)) break;
            stepping = false;
            throw Left{};
        case TokenAction::system_word: ondrel_op = true; break;
        case TokenAction::address: condition = Condition::address; break;
        case TokenAction::open_definition: open_definition(ahead(match.length), static_cast<int>(row.value)); break;
        case TokenAction::close_definition: close_level_with(token.text); break;
        case TokenAction::sentence_end:
            close_pending(token.text);
            consume(match.length);
            if (peek(0) == '\n') consume(1);
            return true;
        case TokenAction::comment:
            if (is_shadowed(token.text)) {
                oper(token.text, Instruction::NIHIL);
                break;
            }
            ondrel_op = false;
            consume(match.length);
            read_comment();
            return false;
        case TokenAction::vector: begin_level(match.length, open_vector, Condition::vector); return false;
        case TokenAction::enclosed: begin_level(match.length, open_enclosed, Condition::vector); return false;
        case TokenAction::text: begin_level(match.length, open_text, Condition::text); return false;
        case TokenAction::nil: emit_value(make_empty()); break;
        case TokenAction::real_constant:
        case TokenAction::selector_constant:
        case TokenAction::truth_constant: emit_scalar([&] { return named_item(token); }); break;
    }
    consume(match.length);
    return false;
}

void emit_end_process() {
    emit_value(operator_cell(Instruction::ENDPROCESS, Instruction::NIHIL, stringdup("")));
    ondrel_op = false;
}

// Takes one token of a sentence: of the rules, the longest. True at a sentence end.
bool scan_sentence() {
    const int c = peek(0);
    if (c == '\n' && (newline_means == Newline::ends || (newline_means == Newline::steps && stepping))) {
        consume(1);
        close_pending("\n");
        if (newline_means == Newline::steps) emit_end_process();
        return true;
    }
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
        consume(1);
        return false;
    }
    const TokenMatch token = match_token(Vocabulary::sentence);
    const NumberMatch number = match_number(true);
    const std::size_t name = prefixed_name_length();
    const std::size_t header = c == 'A' || c == 'V' ? numbered_header_length() : 0;
    if (header > token.length) {
        open_numbered_definition(ahead(header));
        consume(header);
    } else if (token.token != nullptr && token.weight >= number.length && token.weight >= name) {
        return act(token);
    } else if (number.length > name) {
        emit_scalar([&] { return matched_item(number, false); });
        consume(number.length);
    } else {
        read_name();
    }
    return false;
}

void scan_address() {
    if (peek(0) == '\n') return copy_out(1);
    condition = Condition::sentence;
    read_address();
}

// Runs to the end of a sentence; at the end of the input the process is to end too.
void yylex() {
    for (;;) {
        if (peek_number(0) < 0) {
            abandon_literal();
            dereferencepoint(*cursor);
            *cursor = {};
            close_pending("");
            emit_end_process();
            return;
        }
        switch (condition) {
            case Condition::sentence:
                if (scan_sentence()) return;
                break;
            case Condition::vector: scan_vector(); break;
            case Condition::shape: scan_shape(); break;
            case Condition::text: scan_text(); break;
            case Condition::mask_word: scan_mask_word(); break;
            case Condition::address: scan_address(); break;
        }
        stuck = false;
    }
}

// Gives up whatever has been built.
int nothing_to_run() {
    abandon_literal();
    drop_stream();
    close_source();
    return 0;
}

// After an error that left the translation: the rest of the sentence is read and forgotten.
void drop_sentence() {
    abandon_literal();
    refused_levels = open_literals;
    if (open_literals == 0) condition = Condition::sentence;
    dropping = true;
    drop_stream();
}

int translate() {
    for (stuck = false;;) {
        try {
            if (stuck && peek(0) < 0) return nothing_to_run();
            yylex();
            return dropping ? nothing_to_run() : end_stream();
        } catch (const Left&) {
            return nothing_to_run();
        } catch (const Interrupted&) {
            return nothing_to_run();  // nobody waits for the rest
        } catch (const Unwind&) {
        } catch (const std::bad_alloc&) {
            exception(message::out_of_storage);
        }
        drop_sentence();
        if (!std::exchange(stuck, true)) continue;
        if (waiting.empty()) return nothing_to_run();
        consume(1);
    }
}

}  // namespace

int fill(DataElement* cells, const Chain* tables, std::FILE* stream, const char** text, Newline newline,
         std::uint16_t locals, const Table* names_around) {
    open_source(stream, text == nullptr ? nullptr : *text, newline != Newline::blank);
    begin_stream(cells, tables, locals, names_around);
    condition = Condition::sentence;
    open_literals = refused_levels = 0;
    newline_means = newline;

    sigjmp_buf recovery;
    sigjmp_buf* const outer = std::exchange(fault_jump, &recovery);
    const int count = sigsetjmp(recovery, 0) == 0 ? translate() : nothing_to_run();
    fault_jump = outer;
    if (text != nullptr) *text = text_position();
    return count;
}

void cleanup(DataElement* stream) {
    for (; stream->type != 0; ++stream) dereferencepoint(*stream);
    if (stream->local_table != nullptr) release_table(std::exchange(stream->local_table, nullptr));
}

}  // namespace ondrel
