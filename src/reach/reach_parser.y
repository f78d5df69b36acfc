/* The REACH grammar: an LALR(1) parser with locations whose actions type-check each
   rule and build the expression tree. */

%code requires {
#include <string>
#include "reach/reach_build.h"
#ifndef YY_TYPEDEF_YY_SCANNER_T
#define YY_TYPEDEF_YY_SCANNER_T
typedef void* yyscan_t;
#endif
/* Semantic values and locations are plain data, so the parser stack may grow by copying. */
#define PN_REACH_STYPE_IS_TRIVIAL 1
#define PN_REACH_LTYPE_IS_TRIVIAL 1
}

%code provides {
int pn_reach_lex(PN_REACH_STYPE* value, PN_REACH_LTYPE* location, yyscan_t scanner);
}

%code {
#include "reach/syntax_message.h"

namespace {
void pn_reach_error(PN_REACH_LTYPE* location, yyscan_t, nurex::ReachSymbolTable&, nurex::ReachExprPtr&,
                    const char* message) {
  nurex::reportReachError(*location, message);
}

using nurex::ReachOperand;
}  // namespace
}

%define api.prefix {pn_reach_}
%define api.pure full
%define api.location.type {nurex::ReachLocation}
%define parse.error custom
%define parse.lac full
%locations
%lex-param {yyscan_t scanner}
%parse-param {yyscan_t scanner} {nurex::ReachSymbolTable& symbols} {nurex::ReachExprPtr& result}

%initial-action { @$ = nurex::ReachLocation{1, 1, 1, 1}; }

%union {
  std::string* text;
  int32_t number;
  uint32_t count;
  nurex::ReachAttr attr;
  nurex::ReachDecl* decl;
  nurex::ReachDeclList* decls;
}

/* The order of declarations fixes token numbers, precedence and the order of "expecting" lists. */
%token <text> TOK_STR
%token <number> TOK_NUM
%token <text> TOK_ID
%token <count> TOK_STATE TOK_ENABLED TOK_NXT
%token TOK_TRUE TOK_FALSE TOK_FORALL TOK_EXISTS TOK_XORSUM TOK_THRESHOLD TOK_GATHER TOK_LET TOK_SUCHTHAT TOK_DOTDOT
%right '?' ':'
%left TOK_IFF
%right TOK_IMPL
%left '|'
%left '^'
%left '&'
%nonassoc '=' TOK_NEQ '>' '<' TOK_LEQ TOK_GEQ
%nonassoc TOK_IN
%left '+' '-' '\\'
%left '*' '/' '%'
%precedence TOK_FAIL 'C' 'E' 'P' 'T' 'S' TOK_PP TOK_TT TOK_SS '#' TOK_CARD TOK_STRING TOK_LEN TOK_NAME TOK_TRIG
            TOK_DOWNCLOSE TOK_ISINIT TOK_ISCUTOFF TOK_ISINPUT TOK_ISOUTPUT TOK_ISINTERNAL TOK_ISDUMMY TOK_ISLOCAL
            TOK_ISPLUS TOK_ISMINUS '~' TOK_UMINUS TOK_PRESET TOK_POSTSET TOK_CONDS TOK_EVS TOK_SIG TOK_TRAN TOK_PLS
            TOK_STATE TOK_ENABLED
%precedence TOK_NXT '['
%token ']' '(' ')' '{' '}' ','

%type <attr> exp expnlst st threshold
%type <decl> decl_in decl_eq
%type <decls> decl_in_nlst decl_eq_nlst

%destructor { delete $$; } <text> <decl> <decls>
%destructor { nurex::releaseReachAttr($$); } <attr>

%start answer

%%

answer: exp { if (!nurex::reachAnswer(ReachOperand($1, @1), result)) YYERROR; }
;

exp: TOK_TRUE { nurex::reachLiteral(nurex::makeReachBool(true), nurex::ReachType::ofKind(nurex::ReachBoolKind), $$); }
  | TOK_FALSE { nurex::reachLiteral(nurex::makeReachBool(false), nurex::ReachType::ofKind(nurex::ReachBoolKind), $$); }
  | TOK_NUM { nurex::reachLiteral(nurex::makeReachNumber($1), nurex::ReachType::ofKind(nurex::ReachNumericalKind), $$); }
  | TOK_STR {
      std::unique_ptr<std::string> text($1);
      nurex::reachLiteral(nurex::makeReachString(std::move(*text)), nurex::ReachType::ofKind(nurex::ReachStringKind), $$);
    }
  | TOK_ID { if (!nurex::reachIdentifier(symbols, $1, @1, $$)) YYERROR; }
  | TOK_FAIL exp { if (!nurex::reachPrefix(nurex::ReachFail, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_STATE exp { if (!nurex::reachPrefix(nurex::ReachState, $1, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ENABLED exp { if (!nurex::reachPrefix(nurex::ReachEnabled, $1, ReachOperand($2, @2), $$)) YYERROR; }
  | 'C' exp { if (!nurex::reachPrefix(nurex::ReachCondOf, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | 'E' exp { if (!nurex::reachPrefix(nurex::ReachEventOf, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | 'P' exp { if (!nurex::reachPrefix(nurex::ReachPlaceOf, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | 'T' exp { if (!nurex::reachPrefix(nurex::ReachTransitionOf, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | 'S' exp { if (!nurex::reachPrefix(nurex::ReachSignalOf, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_PP exp { if (!nurex::reachPrefix(nurex::ReachPlaces, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_TT exp { if (!nurex::reachPrefix(nurex::ReachTransitions, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_SS exp { if (!nurex::reachPrefix(nurex::ReachSignals, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | '#' exp { if (!nurex::reachPrefix(nurex::ReachNumberOf, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_NAME exp { if (!nurex::reachPrefix(nurex::ReachName, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_STRING exp { if (!nurex::reachPrefix(nurex::ReachToString, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_LEN exp { if (!nurex::reachPrefix(nurex::ReachLen, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_DOWNCLOSE exp { if (!nurex::reachPrefix(nurex::ReachDownclose, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_TRIG exp { if (!nurex::reachPrefix(nurex::ReachTrig, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISINIT exp { if (!nurex::reachPrefix(nurex::ReachIsInit, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISCUTOFF exp { if (!nurex::reachPrefix(nurex::ReachIsCutoff, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISINPUT exp { if (!nurex::reachPrefix(nurex::ReachIsInput, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISOUTPUT exp { if (!nurex::reachPrefix(nurex::ReachIsOutput, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISINTERNAL exp { if (!nurex::reachPrefix(nurex::ReachIsInternal, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISDUMMY exp { if (!nurex::reachPrefix(nurex::ReachIsDummy, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISLOCAL exp { if (!nurex::reachPrefix(nurex::ReachIsLocal, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISPLUS exp { if (!nurex::reachPrefix(nurex::ReachIsPlus, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_ISMINUS exp { if (!nurex::reachPrefix(nurex::ReachIsMinus, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | '~' exp { if (!nurex::reachPrefix(nurex::ReachNot, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | '-' exp %prec TOK_UMINUS { if (!nurex::reachPrefix(nurex::ReachNegate, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_PRESET exp { if (!nurex::reachPrefix(nurex::ReachPre, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_POSTSET exp { if (!nurex::reachPrefix(nurex::ReachPost, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_CONDS exp { if (!nurex::reachPrefix(nurex::ReachConds, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_EVS exp { if (!nurex::reachPrefix(nurex::ReachEvs, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_PLS exp { if (!nurex::reachPrefix(nurex::ReachPls, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_TRAN exp { if (!nurex::reachPrefix(nurex::ReachTran, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_SIG exp { if (!nurex::reachPrefix(nurex::ReachSig, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | TOK_CARD exp { if (!nurex::reachPrefix(nurex::ReachCard, 0, ReachOperand($2, @2), $$)) YYERROR; }
  | exp TOK_NXT { if (!nurex::reachPrefix(nurex::ReachNext, $2, ReachOperand($1, @1), $$)) YYERROR; }
  | exp TOK_IMPL exp { if (!nurex::reachBinary(nurex::ReachImpl, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp TOK_IFF exp { if (!nurex::reachBinary(nurex::ReachIff, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '+' exp { if (!nurex::reachBinary(nurex::ReachAdd, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '-' exp { if (!nurex::reachBinary(nurex::ReachSub, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '*' exp { if (!nurex::reachBinary(nurex::ReachMul, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '/' exp { if (!nurex::reachBinary(nurex::ReachDiv, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '%' exp { if (!nurex::reachBinary(nurex::ReachMod, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '=' exp { if (!nurex::reachBinary(nurex::ReachEq, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp TOK_NEQ exp { if (!nurex::reachBinary(nurex::ReachNeq, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '<' exp { if (!nurex::reachBinary(nurex::ReachLess, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp TOK_LEQ exp { if (!nurex::reachBinary(nurex::ReachLeq, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '>' exp { if (!nurex::reachBinary(nurex::ReachGreater, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp TOK_GEQ exp { if (!nurex::reachBinary(nurex::ReachGeq, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '\\' exp { if (!nurex::reachBinary(nurex::ReachDifference, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp TOK_IN exp { if (!nurex::reachBinary(nurex::ReachIn, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '&' exp { if (!nurex::reachBinary(nurex::ReachAnd, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '|' exp { if (!nurex::reachBinary(nurex::ReachOr, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '^' exp { if (!nurex::reachBinary(nurex::ReachXor, ReachOperand($1, @1), ReachOperand($3, @3), @$, $$)) YYERROR; }
  | exp '[' exp TOK_DOTDOT exp ']' {
      ReachOperand from($3, @3), to($5, @5);
      if (!nurex::reachSubstring(ReachOperand($1, @1), &from, &to, $$)) YYERROR;
    }
  | exp '[' exp TOK_DOTDOT ']' {
      ReachOperand from($3, @3);
      if (!nurex::reachSubstring(ReachOperand($1, @1), &from, nullptr, $$)) YYERROR;
    }
  | exp '[' TOK_DOTDOT exp ']' {
      ReachOperand to($4, @4);
      if (!nurex::reachSubstring(ReachOperand($1, @1), nullptr, &to, $$)) YYERROR;
    }
  | exp '?' exp ':' exp {
      if (!nurex::reachConditional(ReachOperand($1, @1), ReachOperand($3, @3), ReachOperand($5, @5), @$, $$)) YYERROR;
    }
  | threshold '(' expnlst ')' {
      if (!nurex::reachThresholdList(ReachOperand($1, @1), ReachOperand($3, @3), $$)) YYERROR;
    }
  | '{' expnlst '}' { $$ = $2; }
  | TOK_FORALL decl_in_nlst st '{' exp '}' {
      if (!nurex::reachQuantifier(symbols, nurex::ReachForall, $2, ReachOperand($3, @3), ReachOperand($5, @5), $$)) YYERROR;
    }
  | TOK_EXISTS decl_in_nlst st '{' exp '}' {
      if (!nurex::reachQuantifier(symbols, nurex::ReachExists, $2, ReachOperand($3, @3), ReachOperand($5, @5), $$)) YYERROR;
    }
  | TOK_XORSUM decl_in_nlst st '{' exp '}' {
      if (!nurex::reachQuantifier(symbols, nurex::ReachXorsum, $2, ReachOperand($3, @3), ReachOperand($5, @5), $$)) YYERROR;
    }
  | threshold decl_in st '{' exp '}' {
      if (!nurex::reachThresholdQuantifier(symbols, ReachOperand($1, @1), $2, ReachOperand($3, @3), ReachOperand($5, @5), $$))
        YYERROR;
    }
  | TOK_GATHER decl_in st '{' exp '}' {
      if (!nurex::reachGather(symbols, $2, ReachOperand($3, @3), ReachOperand($5, @5), $$)) YYERROR;
    }
  | TOK_LET decl_eq_nlst '{' exp '}' {
      if (!nurex::reachLet(symbols, $2, ReachOperand($4, @4), $$)) YYERROR;
    }
  | '(' exp ')' { $$ = $2; }
;

expnlst: exp { nurex::reachListStart(ReachOperand($1, @1), $$); }
  | expnlst ',' exp { if (!nurex::reachListAppend(ReachOperand($1, @1), ReachOperand($3, @3), $$)) YYERROR; }
;

decl_in: TOK_ID TOK_IN exp { if (!nurex::reachDeclIn(symbols, $1, ReachOperand($3, @3), $$)) YYERROR; }
;

decl_in_nlst: decl_in {
      $$ = new nurex::ReachDeclList;
      $$->push_back(std::move(*$1));
      delete $1;
    }
  | decl_in_nlst ',' decl_in {
      $$ = $1;
      $$->push_back(std::move(*$3));
      delete $3;
    }
;

decl_eq: TOK_ID '=' exp { if (!nurex::reachDeclEq(symbols, $1, ReachOperand($3, @3), $$)) YYERROR; }
;

decl_eq_nlst: decl_eq {
      $$ = new nurex::ReachDeclList;
      $$->push_back(std::move(*$1));
      delete $1;
    }
  | decl_eq_nlst ',' decl_eq {
      $$ = $1;
      $$->push_back(std::move(*$3));
      delete $3;
    }
;

st: %empty { nurex::reachNoFilter($$); }
  | TOK_SUCHTHAT exp {
      @$ = @2;  /* a filter is located at its expression, not at "s.t." */
      if (!nurex::reachFilter(ReachOperand($2, @2), $$)) YYERROR;
    }
;

threshold: TOK_THRESHOLD { nurex::reachDefaultThreshold($$); }
  | TOK_THRESHOLD '[' exp ']' { if (!nurex::reachThresholdValue(ReachOperand($3, @3), $$)) YYERROR; }
;

%%

/* Syntax errors name at most four expected tokens, found with lookahead correction. */
static int yyreport_syntax_error(const yypcontext_t* context, yyscan_t, nurex::ReachSymbolTable&,
                                 nurex::ReachExprPtr&) {
  int status;
  std::string text = nurex::syntaxErrorOf(context, yypcontext_token, yypcontext_expected_tokens, yysymbol_name,
                                          YYSYMBOL_YYEMPTY, status);
  if (status < 0) return status;
  nurex::reportReachError(*yypcontext_location(context), text);
  return 0;
}
