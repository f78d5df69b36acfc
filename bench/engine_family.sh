#!/bin/bash
# Scalable nets and STGs in the .g text form, for the benchmarks of the two engines.
# Usage: bench/engine_family.sh phil N       (N dining philosophers, each taking the left fork
#                                             first: a deadlock)
#        bench/engine_family.sh ring N       (token-ring arbiter of N cells: user r_i/a_i, the
#                                             token passed on by toggling g_i when the user idles)
#        bench/engine_family.sh fastmutex N  (Lamport's fast mutual exclusion for N processes,
#                                             shared x, y and b[i] as places, every await a
#                                             busy-waiting loop: deadlock-free)
set -eu
family=$1
n=$2
arc() { local from=$1; shift; for to in "$@"; do echo "$from $to"; done; }
# A transition with its input places and output places: t "in..." "out...".
trans() { local t=$1; for p in $2; do echo "$p $t"; done; for p in $3; do echo "$t $p"; done; }
case $family in
phil)
  echo ".model phil_$n"
  printf '.dummy'; for ((i = 0; i < n; i++)); do printf ' left%d right%d release%d' $i $i $i; done; echo
  echo ".graph"
  for ((i = 0; i < n; i++)); do
    j=$(((i + 1) % n))
    trans left$i "think$i fork$i" "hasleft$i"
    trans right$i "hasleft$i fork$j" "eat$i"
    trans release$i "eat$i" "think$i fork$i fork$j"
  done
  printf '.marking {'; for ((i = 0; i < n; i++)); do printf ' think%d fork%d' $i $i; done; echo ' }'
  echo ".end"
  ;;
ring)
  echo ".model ring_$n"
  printf '.inputs'; for ((i = 0; i < n; i++)); do printf ' r%d' $i; done; echo
  printf '.outputs'; for ((i = 0; i < n; i++)); do printf ' a%d' $i; done; echo
  printf '.internal'; for ((i = 0; i < n; i++)); do printf ' g%d' $i; done; echo
  echo ".graph"
  for ((i = 0; i < n; i++)); do
    j=$(((i + 1) % n))
    trans r$i+ "idle$i" "req$i"
    trans a$i+ "req$i tok$i" "busy$i"
    trans r$i- "busy$i" "done$i"
    trans a$i- "done$i" "idle$i tok$i"
    trans g$i+ "tok$i idle$i even$i" "tok$j idle$i odd$i"
    trans g$i- "tok$i idle$i odd$i" "tok$j idle$i even$i"
  done
  printf '.marking { tok0'; for ((i = 0; i < n; i++)); do printf ' idle%d even%d' $i $i; done; echo ' }'
  echo ".end"
  ;;
fastmutex)
  # Transitions are named t_...: the .dummy line lists them.
  trans() { local t=t_$1; for p in $2; do echo "$p $t"; done; for p in $3; do echo "$t $p"; done; }
  body=$(
    for ((i = 1; i <= n; i++)); do
      trans setb$i "start$i bf$i" "l1_$i bt$i"
      for ((v = 0; v <= n; v++)); do trans setx${i}_$v "l1_$i x$v" "l2_$i x$i"; done
      trans ytest${i}_0 "l2_$i y0" "l3_$i y0"
      for ((v = 1; v <= n; v++)); do trans ytest${i}_$v "l2_$i y$v" "back$i y$v"; done
      trans clrb$i "back$i bt$i" "wait$i bf$i"
      for ((v = 1; v <= n; v++)); do trans spin${i}_$v "wait$i y$v" "spun$i y$v"; done
      trans respin$i "spun$i" "wait$i"
      trans retry$i "wait$i y0" "start$i y0"
      for ((v = 0; v <= n; v++)); do trans sety${i}_$v "l3_$i y$v" "l4_$i y$i"; done
      trans fast$i "l4_$i x$i" "cs$i x$i"
      for ((v = 0; v <= n; v++)); do [ $v -ne $i ] && trans slow${i}_$v "l4_$i x$v" "slow$i x$v"; done
      trans clrbs$i "slow$i bt$i" "scan${i}_1 bf$i"
      for ((j = 1; j <= n; j++)); do
        trans pass${i}_$j "scan${i}_$j bf$j" "scan${i}_$((j + 1)) bf$j"
        trans bspin${i}_$j "scan${i}_$j bt$j" "bspun${i}_$j bt$j"
        trans brespin${i}_$j "bspun${i}_$j" "scan${i}_$j"
      done
      trans own$i "scan${i}_$((n + 1)) y$i" "cs$i y$i"
      for ((v = 0; v <= n; v++)); do [ $v -ne $i ] && trans lost${i}_$v "scan${i}_$((n + 1)) y$v" "wait$i y$v"; done
      for ((v = 0; v <= n; v++)); do trans leave${i}_$v "cs$i y$v" "exit$i y0"; done
      trans done${i}_t "exit$i bt$i" "start$i bf$i"
      trans done${i}_f "exit$i bf$i" "start$i bf$i"
    done
  )
  echo ".model fastmutex_$n"
  printf '.dummy'; echo "$body" | tr ' ' '\n' | grep '^t_' | sort -u | tr '\n' ' ' | sed 's/^/ /'; echo
  echo ".graph"
  echo "$body"
  printf '.marking { x0 y0'; for ((i = 1; i <= n; i++)); do printf ' start%d bf%d' $i $i; done; echo ' }'
  echo ".end"
  ;;
*) echo "unknown family $family" >&2; exit 2 ;;
esac
