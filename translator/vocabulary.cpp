#include "translator/vocabulary.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace ondrel {
namespace {

using enum Instruction;

constexpr TokenRow keyword(std::string_view spellings, Instruction instruction, Instruction second = NIHIL) {
    return {spellings, TokenAction::instruction, instruction, second, 0, true};
}
constexpr TokenRow glyph(std::string_view spellings, Instruction instruction) {
    return {spellings, TokenAction::instruction, instruction, NIHIL, 0, false};
}
// CIRCULAR behind a hidden selector.
constexpr TokenRow selected(std::string_view spellings, int selector) {
    return {spellings, TokenAction::selector, CIRCULAR, NIHIL, static_cast<double>(selector), true};
}
// POWER behind a hidden exponent.
constexpr TokenRow power(std::string_view spellings, double exponent) {
    return {spellings, TokenAction::exponent, POWER, NIHIL, exponent, true};
}
// Two cells, the second with empty text.
constexpr TokenRow pair(std::string_view spellings, Instruction first, Instruction then) {
    return {spellings, TokenAction::pair, first, then, 0, true};
}
// Takes the verb in the cell before.
constexpr TokenRow combining(std::string_view spellings, Instruction instruction) {
    return {spellings, TokenAction::combine, instruction, NIHIL, 0, true};
}
constexpr TokenRow conditional(std::string_view spellings, Instruction instruction) {
    return {spellings, TokenAction::condition, instruction, NIHIL, 0, true};
}
// The header of a function with this many arguments; below 0: one that works in its caller's frame.
constexpr TokenRow definition(std::string_view spellings, int arguments) {
    return {spellings, TokenAction::open_definition, NIHIL, NIHIL, static_cast<double>(arguments), true};
}
constexpr TokenRow modifier(std::string_view spellings, Instruction instruction) {
    return {spellings, TokenAction::modify_mask, instruction, NIHIL, 0, true};
}
constexpr TokenRow mark(std::string_view spellings, TokenAction action) {
    return {spellings, action, NIHIL, NIHIL, 0, false};
}
constexpr TokenRow real(std::string_view spellings, double value) {
    return {spellings, TokenAction::real_constant, NIHIL, NIHIL, value, true};
}
constexpr TokenRow integer(std::string_view spellings, int value) {
    return {spellings, TokenAction::selector_constant, NIHIL, NIHIL, static_cast<double>(value), true};
}
constexpr TokenRow truth(std::string_view spellings, int value) {
    return {spellings, TokenAction::truth_constant, NIHIL, NIHIL, static_cast<double>(value), true};
}

constexpr auto sentence_table = std::to_array<TokenRow>({
    keyword("READ", READ),
    keyword("WRITE", WRITE),
    keyword("APPEND", APPEND),
    keyword("FORMTEXT TEXTFORM", DISASSEMBLE, TEXTWRITE),
    keyword("READTEXT TEXTREAD", TEXTREAD),
    keyword("TEXTWRITE WRITETEXT", TEXTWRITE),
    keyword("APPENDTEXT TEXTAPPEND", TEXTAPPEND),
    keyword("LSB\tOPEN", OPEN, SMALL),
    keyword("MSB\tOPEN OPEN", OPEN),
    keyword("CLOSE", CLOSE),
    keyword("DATAIN DATAREAD", DATAIN),
    keyword("DATAOUT DATAWRITE", DATAOUT),
    keyword("REWIND", REWIND),
    keyword("REPOSITION SEEK", SEEK),
    keyword("SAVE", SAVE),
    keyword("LOAD", LOAD),
    keyword("DUMP DUMPSTACK", DUMPSTACK),
    keyword("REMEMBER", REMEMBER),
    keyword("WIPE", WIPE),
    keyword("INPUT QUADIN \xCC", INPUT),
    keyword("OUTPUT TOS \xCC\xCC", OUTPUT, PRINT),
    keyword("REVEAL", OUTPUT, NOOP),
    keyword("PRINT QUADOUT \xCCo", PRINT, PRINT),
    keyword("TELL", PRINT, NOOP),
    keyword("QUOTED QUOTEDIN QUOTEDINPUT QUOTEQUAD TEXTINPUT \xCD", QUOTEDIN),
    keyword("CONJUGATE \xB0+", CONJUGATE),
    keyword("NEGATIVE \xB0-", NEGATIVE),
    keyword("SIGN SIGNUM", SIGNUM),
    keyword("DIRECTION \xB0\xB9", DIRECTION),
    keyword("RECIPROCAL \xB0\xBA", RECIPROCAL),
    keyword("ABS ABSOLUTE MAGNITUDE \xB0|", MAGNITUDE),
    keyword("BINARY", BINARY),
    keyword("NUMBER", NUMBER),
    keyword("POLAR", POLAR),
    keyword("DEG DEGREES", DEG),
    keyword("RAD RADIANS", RAD),
    keyword("CARTESIAN", CARTESIAN),
    keyword("FLOOR \xB0\xDB", FLOOR),
    keyword("CEIL CEILING \xB0\xDA", CEILING),
    keyword("INTEGER TRUNC TRUNCATE", TRUNCATE),
    keyword("EXP EXPONENTIAL eX \xB0*", EXPONENTIAL),
    keyword("LN LOGE LOGe NATURALLOG \xB0\xA9", NATURALLOG),
    keyword("PI* PITIMES \xB0\xB1", PITIMES),
    keyword("FACTORIAL \xB0!", FACTORIAL),
    selected("SIN SINUS", 1),
    selected("COS COSIN COSINUS", 2),
    selected("TAN TANGENS", 3),
    keyword("COTAN COTANGENS CTG", COTAN),
    keyword("SEC SECANS", SEC),
    keyword("COSEC COSECANS CSC", COSEC),
    selected("ARCSIN ASIN", -1),
    selected("ACOS ACOSIN ARCCOS", -2),
    selected("ARCTAN ATAN", -3),
    keyword("ACOTAN ACTG ARCCOTAN", ACOTAN),
    keyword("ARCSEC ASEC", ASEC),
    keyword("ACOSEC ACSC ARCCOSEC", ACOSEC),
    selected("SINH", 5),
    selected("COSH COSINH", 6),
    selected("TANH", 7),
    keyword("COTANH CTGH", COTANH),
    keyword("SECH", SECH),
    keyword("COSECH CSCH", COSECH),
    selected("ARCSINH ASINH", -5),
    selected("ACOSH ACOSINH ARCCOSH ARCCOSINH", -6),
    selected("ARCTANH ATANH", -7),
    keyword("ACOTANH ACTGH", ACOTANH),
    keyword("ASECH", ASECH),
    keyword("ACOSECH ACSCH", ACOSECH),
    power("SQR SQUARE", 2),
    power("CBR CUBE", 3),
    power("SQRT", 0.5),
    power("CBRT", 0.3333333333333333),
    keyword("LOG10", LOG10),
    keyword("LD LOG2", LD),
    keyword("B2POW PD POW2", POW2),
    keyword("BEPOW BePOW POWE POWe", POWE),
    keyword("B10POW POW10", POW10),
    keyword("NOT ~ \xB0~", NOT),
    keyword("BOOLEAN", BOOLEAN),
    keyword("LOGICAL", LOGICAL),
    keyword("PROBABLY", PROBABLY),
    keyword("CONTRADICTION", CONTRADICTION),
    keyword("ISBOOLEAN", ISBOOLEAN),
    keyword("ISLOGICAL", ISLOGICAL),
    keyword("ISBINARY", ISBINARY),
    keyword("ISNUMBER", ISNUMBER),
    keyword("ISCARTESIAN", ISCARTESIAN),
    keyword("ISPOLAR", ISPOLAR),
    keyword("SEED", SEED),
    glyph("RANDOMISE RANDOMIZE", RANDOMISE),
    keyword("RANDOM ?? \xB0??", RANDOM),
    keyword("ROLL ? \xB0?", ROLL),
    keyword("ENASCII", ENASCII),
    keyword("ENCAPSULATE", ENCAPSULATE),
    keyword("DEASCII", DEASCII),
    keyword("DECAPSULATE", DECAPSULATE),
    keyword("LENGTH SHAPE \xB0\xF2", SHAPE),
    keyword("RAVEL \xB0,", RAVEL),
    keyword("RAVELAXIS \xB0,[]", RAVELAXIS),
    keyword("TABLE \xB0\xB8", TABLE),
    keyword("ENCLOSE \xB0\xEA", ENCLOSE),
    keyword("ATOM SCALAR", ENCLOSE, NUMBER),
    keyword("ENCLOSEAXIS \xB0\xEA[]", ENCLOSEAXIS),
    keyword("DISCLOSE \xB0\xEB", DISCLOSE),
    keyword("DISCLOSEAXIS \xB0\xEB[]", DISCLOSEAXIS),
    keyword("CAR FIRST \xB0\xC6", FIRST),
    keyword("FIRST\tELEMENT FIRSTONE", FIRST, FIRST),
    keyword("CDR REST \xB0\xC7", REST),
    keyword("REDUCING\tREST RREST", REST, REDUCE),
    keyword("INTERVAL SPACE .. \xB0\xE9", INTERVAL),
    keyword("ENLIST \xB0\xE5", ENLIST),
    keyword("GROUP", GROUP),
    keyword("GRADEUP \xB0\xB6", GRADEUP),
    keyword("GRADEDOWN \xB0\xB7", GRADEDOWN),
    keyword("MATRIXINVERSE \xB0\xCE", MATRIXINVERSE),
    keyword("DEPTH \xB0\xAD", DEPTH),
    keyword("RANK", RANK),
    keyword("ASSEMBLE", ASSEMBLE),
    keyword("DISASSEMBLE", DISASSEMBLE),
    keyword("SLEEP", SLEEP),
    keyword("TIME", TIME),
    keyword("POSITION", POSITION),
    keyword("EXEC EXECUTE ! \xB0\xF0", EXECUTE),
    keyword("LOOP", LOOP),
    keyword("LOOPING REPEAT", LOOP, DISCARD),
    keyword("RESULT", RESULT),
    keyword("REEVAL REEVALUATE", REEVALUATE),
    keyword("OPERATOR VERB", OPERATOR),
    keyword("AT", AT),
    keyword("GET", GET),
    keyword("DO", DO),
    keyword("FORMAT TEXT \xB0\xE0", FORMAT),
    keyword("MIRROR", MIRROR),
    keyword("REVERSE REVERSEFIRSTAXIS \xB0\xDC", REVERSE),
    keyword("REVERSEAXIS \xB0\xDC[]", REVERSEAXIS),
    keyword("REVERSELASTAXIS \xB0\xEC", REVERSELASTAXIS),
    keyword("TRANSPOSE \xB0\xED", TRANSPOSE),
    glyph("+", ADD),
    keyword("ADD", ADD),
    glyph("-", SUBTRACT),
    keyword("CENTER CENTRE SUBTRACT", SUBTRACT),
    glyph("*", MULTIPLY),
    keyword("MULTIPLY TIMES \xB9", MULTIPLY),
    glyph("/", DIVIDE),
    keyword("DIVIDE \xBA", DIVIDE),
    glyph("|", RESIDUE),
    keyword("MOD MODULO RESIDUE", RESIDUE),
    keyword("MIN MINIMUM SMALLER \xDB", MINIMUM),
    keyword("LARGER MAX MAXIMUM \xDA", MAXIMUM),
    glyph("**", POWER),
    pair("ROOT", RECIPROCAL, POWER),
    keyword("POW POWER", POWER),
    keyword("LOG LOGARITHM \xA9", LOGARITHM),
    keyword("CIRCULAR TRIG TRIGONOMETRIC \xB1", CIRCULAR),
    keyword("BINOMIAL", BINOMIAL),
    glyph("^", AND),
    keyword("AND CONJUNCTION", AND),
    glyph("v", OR),
    keyword("DISJUNCTION OR \xEF", OR),
    keyword("~^", NAND),
    keyword("NAND \xDE", NAND),
    keyword("~v", NOR),
    keyword("NOR \xDF", NOR),
    keyword("!^", STRONGAND),
    keyword("STRONGAND STRONGCONJUNCTION", STRONGAND),
    glyph("!v", STRONGOR),
    keyword("STRONGDISJUNCTION STRONGOR !\xEF", STRONGOR),
    glyph("!~^", STRONGNAND),
    keyword("STRONGNAND !\xDE", STRONGNAND),
    glyph("!~v", STRONGNOR),
    keyword("STRONGNOR !\xDF", STRONGNOR),
    keyword("IDENTICAL ==", IDENTICAL),
    keyword("NOTIDENTICAL ## ~==", NOTIDENTICAL),
    keyword("LESS <", LESS),
    keyword("NOTGREATER <= =< ~> \xC8", NOTGREATER),
    keyword("EQUAL EQUIVALENT =", EQUIVALENT),
    keyword("NOTLESS => >= ~< \xC9", NOTLESS),
    keyword("GREATER >", GREATER),
    keyword("NOTEQUAL NOTEQUIVALENT # <> ~= \xBD", NOTEQUIVALENT),
    keyword("SED STREAMED STREAMEDIT", STREAMEDIT),
    keyword("RESHAPE \xF2", RESHAPE),
    keyword("CAT CATENATE CONS ,", CATENATE),
    keyword("CATENATEAXIS ,[]", CATENATEAXIS),
    keyword("CATENATELASTAXIS \xB8", CATENATELASTAXIS),
    keyword("LAMINATE ,[.]", LAMINATE),
    keyword("PARTITION \xEA", PARTITION),
    keyword("PARTITIONAXIS \xEA[]", PARTITIONAXIS),
    keyword("PICK \xEB", PICK),
    keyword("DROP \xC7", DROP),
    keyword("DROPAXIS \xC7[]", DROPAXIS),
    keyword("TAKE \xC6", TAKE),
    keyword("TAKEAXIS \xC6[]", TAKEAXIS),
    keyword("WITHOUT ~~", WITHOUT),
    keyword("INDEXOF \xE9", INDEXOF),
    keyword("MEMBER \xE5", MEMBER),
    keyword("GRADEUPCOLLATING \xB6", GRADEUPCOLLATING),
    keyword("GRADEDOWNCOLLATING \xB7", GRADEDOWNCOLLATING),
    keyword("DEAL !??", DEAL),
    keyword("FIND \xF5", FIND),
    keyword("ENCODE \xC2", ENCODE),
    keyword("DECODE \xC3", DECODE),
    keyword("MATRIXDIVIDE \xCE", MATRIXDIVIDE),
    keyword("MATCH \xAD", MATCH),
    keyword("EXACT\tMATCH", MATCH, EXACT),
    keyword("FORMATSPECIFIED \xE0", FORMATSPECIFIED),
    keyword("INDEXED \xCF", INDEXED),
    keyword("INDEXEDAXIS \xCF[]", INDEXEDAXIS),
    keyword("INDEX []", INDEX),
    keyword("INDEXAXIS [][]", INDEXAXIS),
    keyword("EXPAND \\", EXPAND),
    keyword("EXPANDAXIS \\[]", EXPANDAXIS),
    keyword("EXPANDLASTAXIS \xB2", EXPANDLASTAXIS),
    combining("OUTERPRODUCT \xB0.\xAB", OUTERPRODUCT),
    keyword("INNERPRODUCT \xAB.\xAB", INNERPRODUCT),
    combining("SCAN \\\\ \xB0\xAB\\", SCAN),
    combining("SCANAXIS \\\\[] \xB0\xAB\\[]", SCANAXIS),
    combining("SCANLASTAXIS \xB0\xAB\xB2", SCANLASTAXIS),
    combining("REDUCE // \xB0\xAB/", REDUCE),
    keyword("SUM", REDUCE, ADD),
    keyword("PRODUCT", REDUCE, MULTIPLY),
    keyword("ALL", REDUCE, AND),
    keyword("ANY", REDUCE, OR),
    keyword("SMALLEST", REDUCE, MINIMUM),
    keyword("LARGEST", REDUCE, MAXIMUM),
    combining("REDUCEAXIS //[] \xB0\xAB/[]", REDUCEAXIS),
    combining("REDUCELASTAXIS REDUCEROWS /-/ \xB0\xAB\xB3", REDUCELASTAXIS),
    keyword("SUMLASTAXIS SUMROWS", REDUCELASTAXIS, ADD),
    keyword("PRODUCTLASTAXIS PRODUCTROWS", REDUCELASTAXIS, MULTIPLY),
    keyword("ALLLASTAXIS ALLROWS", REDUCELASTAXIS, AND),
    keyword("ANYLASTAXIS ANYROW", REDUCELASTAXIS, OR),
    keyword("SMALLESTLASTAXIS SMALLESTROW", REDUCELASTAXIS, MINIMUM),
    keyword("LARGESTLASTAXIS LARGESTROW", REDUCELASTAXIS, MAXIMUM),
    combining("REDUCENWISE \xAB/", REDUCENWISE),
    combining("REDUCENWISEAXIS \xAB/[]", REDUCENWISEAXIS),
    combining("REDUCENWISELASTAXIS \xAB\xB3", REDUCENWISELASTAXIS),
    keyword("COMPRESS", COMPRESS),
    keyword("COMPRESSAXIS COMPRESSCOLUMNS", COMPRESSAXIS),
    keyword("COMPRESSLASTAXIS COMPRESSROWS", COMPRESSLASTAXIS),
    keyword("REPLICATE /../", REPLICATE),
    keyword("REPLICATEAXIS /../[]", REPLICATEAXIS),
    keyword("REPLICATELASTAXIS \xB3", REPLICATELASTAXIS),
    keyword("ROTATE \xDC", ROTATE),
    keyword("ROTATEAXIS \xDC[]", ROTATEAXIS),
    keyword("ROTATELASTAXIS \xEC", ROTATELASTAXIS),
    keyword("TRANSPOSEGENERAL \xED", TRANSPOSEGENERAL),
    keyword("INTRODUCE", INTRODUCE),
    keyword("EXTRODUCE", EXTRODUCE),
    keyword("MASK STENCIL", MASK),
    keyword("EACH", EACH),
    keyword("CONTEXT DICTIONARY", CONTEXT),
    keyword("PREVIOUS\tCONTEXT PREVIOUS\tDICTIONARY", CONTEXT, PREVIOUS),
    keyword("BASIC\tCONTEXT BASIC\tDICTIONARY GLOBAL\tCONTEXT GLOBAL\tDICTIONARY", CONTEXT, BASIC),
    keyword("NEW\tCONTEXT NEW\tDICTIONARY NEW\tSMALL\tCONTEXT NEW\tSMALL\tDICTIONARY", CONTEXT, SMALL),
    keyword("NEW\tLARGE\tCONTEXT NEW\tLARGE\tDICTIONARY", CONTEXT, LARGE),
    keyword("ASSIGN \xC4", ASSIGN),
    keyword("SET", SET),
    keyword("FORGET", FORGET),
    keyword("GOTO \xC5", GOTO),
    keyword("IF ?\xC5", IF),
    keyword("JUMP \xC5%", JUMP),
    keyword("CHECK", CHECK),
    keyword("CLEAR", CLEAR),
    keyword("DISCARD LEFT POP \xC1", DISCARD),
    keyword("RIGHT \xC0", RIGHT),
    keyword("DUP DUPLICATE \xC0\xC0", DUPLICATE),
    keyword("EXCH EXCHANGE SWAP \xC1\xC0", SWAP),
    keyword("COLLECT ..]", COLLECT),
    keyword("COLLECTALL :]", COLLECT, DISCARD),
    keyword("DISPERSE", DISPERSE),
    keyword("MARK [.", MARK),
    keyword("COLLECTFROMMARK .]", COLLECT, MARK),
    keyword("DISPERSEFROMMARK .][.", DISPERSE, MARK),
    keyword("COUNTSTACK", COUNTSTACK),
    keyword("COUNTTOMARK", COUNTTOMARK),
    keyword("CLEARTOMARK", CLEARTOMARK),
    keyword("DIP", DIP),
    keyword("DEEP", DEEP),
    keyword("PEEK", PEEK),
    keyword("POKE", POKE),
    keyword("PARALLEL", PARALLEL),
    keyword("SERIAL", SERIAL),
    keyword("OPTIMISED OPTIMIZED", OPTIMISED),
    keyword("RETURN", RETURN),
    keyword("YIELD", YIELD),
    pair("YIELDTO", YIELDTO, RETURN),
    keyword("NOOP POSTFIX", NOOP),
    keyword("PREFIX", PREFIX),
    keyword("INFIX", INFIX),
    keyword("TRACE", TRACE),
    keyword("TRACEALL", TRACE, REST),
    keyword("STEP", STEP),
    keyword("STEPALL", STEP, REST),
    {"RUN", TokenAction::run, RUN, NIHIL, 0, true},
    keyword("RUNALL", RUN, REST),
    keyword("TEXTEDIT", EDIT, TEXTREAD),
    keyword("EDIT", EDIT),
    keyword("CALL", CALL),
    keyword("TEXTCALL", CALL, TEXTREAD),
    keyword("ENDPROCESS OFF QUIT", ENDPROCESS),
    keyword("VARIABLES VARS", VARIABLES),
    keyword("FNS FUNCS FUNCTIONS", FUNCTIONS),
    conditional("?Y IF_YES", IF_YES),
    conditional("?N IF_NO", IF_NO),
    modifier("WRAP", WRAP),
    modifier("REFLECT", REFLECT),
    {"BREAK", TokenAction::leave, NIHIL, NIHIL, 0, true},
    {"#NIL", TokenAction::nil, NIHIL, NIHIL, 0, true},
    definition("FUNCTION NEADIC", -1),
    definition("NILADIC", 0),
    definition("MONADIC", 1),
    definition("DYADIC", 2),
    definition("TRIADIC", 3),
    {":", TokenAction::open_definition, NIHIL, NIHIL, -1, false},
    mark(";", TokenAction::close_definition),
    {"FUNCTIONEND", TokenAction::close_definition, NIHIL, NIHIL, 0, true},
    mark("@", TokenAction::address),
    mark("::", TokenAction::system_word),
    mark(". END", TokenAction::sentence_end),
    mark("\" \xBC", TokenAction::comment),
    mark("(", TokenAction::vector),
    mark("`(", TokenAction::enclosed),
    mark("'", TokenAction::text),
    real("#1_SQRT2 -#1_SQRT2", 0.7071067811865476),
    real("#LOGE2 #LOGe2", 0.6931471805599453),
    real("#LOGE10 #LOGe10", 2.302585092994046),
    integer("#END", 0),
});

constexpr auto constant_table = std::to_array<TokenRow>({
    real("#PI #pi -#PI -#pi", 3.141592653589793),
    real("#2PI #2pi -#2PI -#2pi", 6.283185307179586),
    real("#PI_2 #pi_2 -#PI_2 -#pi_2", 1.5707963267948966),
    real("#PI_4 #pi_4 -#PI_4 -#pi_4", 0.7853981633974483),
    real("#1_PI #1_pi -#1_PI -#1_pi", 0.3183098861837907),
    real("#2_PI #2_pi -#2_PI -#2_pi", 0.6366197723675814),
    real("#2_SQRTPI #2_SQRTpi -#2_SQRTPI -#2_SQRTpi", 1.1283791670955126),
    real("#SQRT2 -#SQRT2", 1.4142135623730951),
    real("#SQRT3 -#SQRT3", 1.7320508075688772),
    real("#SQRT1_2 -#SQRT1_2", 0.7071067811865476),
    real("#E #e #EULER #NAPIER -#E -#e -#EULER -#NAPIER", 2.718281828459045),
    real("#LOG2E #LOG2e", 1.4426950408889634),
    real("#LOG10E #LOG10e", 0.4342944819032518),
    real("#LN2", 0.6931471805599453),
    real("#LN10", 2.302585092994046),
    integer("#ATANH", -7),
    integer("#ACOSH", -6),
    integer("#ASINH", -5),
    integer("#SQRTX2m1", -4),
    integer("#ATAN", -3),
    integer("#ACOS", -2),
    integer("#ASIN", -1),
    integer("#SQRT1mX2", 0),
    integer("#SIN", 1),
    integer("#COS", 2),
    integer("#TAN", 3),
    integer("#SQRTX2p1", 4),
    integer("#SINH", 5),
    integer("#COSH", 6),
    integer("#TANH", 7),
    truth("F #F #FALSE", 0),
    truth("T #T #TRUE", 1),
});

constexpr bool spellings_unique() {
    std::vector<std::string_view> spellings;
    for (const std::span<const TokenRow> rows :
         {std::span<const TokenRow>(sentence_table), std::span<const TokenRow>(constant_table)})
        for (const TokenRow& row : rows)
            for (std::string_view rest = row.spellings; !rest.empty();) {
                const std::size_t end = std::min(rest.find(' '), rest.size());
                spellings.push_back(rest.substr(0, end));
                rest.remove_prefix(std::min(end + 1, rest.size()));
            }
    std::ranges::sort(spellings);
    return std::ranges::adjacent_find(spellings) == spellings.end();
}
static_assert(spellings_unique());

}  // namespace

constinit const std::span<const TokenRow> sentence_rows = sentence_table, constant_rows = constant_table;

bool changes_cell_before(std::string_view spelling) {
    const std::string among = std::string(" ").append(spelling) + ' ';
    return std::ranges::any_of(sentence_rows, [&](const TokenRow& row) {
        const bool changes = row.action == TokenAction::combine || row.action == TokenAction::condition;
        return changes && (std::string(" ").append(row.spellings) + ' ').find(among) != std::string::npos;
    });
}

}  // namespace ondrel
