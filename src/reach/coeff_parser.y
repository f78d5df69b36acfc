/* The grammar of cost-coefficient expressions; the actions compute the value. */

%code requires {
#include "reach/coeff_scan.h"
}

%code provides {
int coeff_lex(COEFF_STYPE* value, nurex::CoeffScanState& state);
}

%code {
#include "reach/syntax_message.h"

namespace {
void coeff_error(nurex::CoeffScanState& state, const char* message) { nurex::reportCoefficientError(state, message); }

// Arithmetic on 32-bit words wraps instead of overflowing.
int32_t wrap(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }
int32_t divide(int32_t a, int32_t b) { return b == -1 ? wrap(-static_cast<int64_t>(a)) : a / b; }
int32_t remainder(int32_t a, int32_t b) { return b == -1 ? 0 : a % b; }
}  // namespace
}

%define api.prefix {coeff_}
%define api.pure full
%define api.value.type {int32_t}
%define parse.error custom
%define parse.lac full
%lex-param {nurex::CoeffScanState& state}
%parse-param {nurex::CoeffScanState& state}

%token NUM UMINUS
%left '+' '-'
%left '*' '/' '%'
%precedence UMINUS

%start answer

%%

answer: exp {
      if ($1 < 0) {
        coeff_error(state, "coefficient must be non-negative");
        YYABORT;
      }
      state.result = $1;
    }
;

exp: NUM
  | exp '+' exp { $$ = wrap(int64_t{$1} + $3); }
  | exp '-' exp { $$ = wrap(int64_t{$1} - $3); }
  | exp '*' exp { $$ = wrap(int64_t{$1} * $3); }
  | exp '/' exp {
      if ($3 == 0) {
        coeff_error(state, "division by 0");
        YYABORT;
      }
      $$ = divide($1, $3);
    }
  | exp '%' exp {
      if ($3 == 0) {
        coeff_error(state, "division by 0");
        YYABORT;
      }
      $$ = remainder($1, $3);
    }
  | '-' exp %prec UMINUS { $$ = wrap(-int64_t{$2}); }
  | '(' exp ')' { $$ = $2; }
;

%%

static int yyreport_syntax_error(const yypcontext_t* context, nurex::CoeffScanState& state) {
  int status;
  std::string text = nurex::syntaxErrorOf(context, yypcontext_token, yypcontext_expected_tokens, yysymbol_name,
                                          YYSYMBOL_YYEMPTY, status);
  if (status < 0) return status;
  coeff_error(state, text.c_str());
  return 0;
}
