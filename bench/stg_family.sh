#!/bin/bash
# Scalable STG families in the .g text form, for the state-coding benchmarks.
# Usage: bench/stg_family.sh pipeline N   (Muller pipeline of N C-element stages, CSC holds)
#        bench/stg_family.sh fork N       (N concurrent four-phase handshakes between the
#                                          edges of x; the code after the join equals the
#                                          code after x+, so CSC fails)
#        bench/stg_family.sh vme N        (N independent copies of the VME bus controller
#                                          read cycle side by side: 12^N states and N
#                                          separate CSC conflicts)
set -eu
family=$1
n=$2
case $family in
pipeline)
  echo ".model pipeline_$n"
  echo ".inputs c0 c$((n + 1))"
  printf '.outputs'; for ((i = 1; i <= n; i++)); do printf ' c%d' $i; done; echo
  echo ".graph"
  for ((i = 1; i <= n + 1; i++)); do
    p=c$((i - 1)); q=c$i
    echo "$p+ $q+"; echo "$q+ $p-"; echo "$p- $q-"; echo "$q- $p+"
  done
  printf '.marking {'; for ((i = 1; i <= n + 1; i++)); do printf ' <c%d-,c%d+>' $i $((i - 1)); done; echo ' }'
  echo ".end"
  ;;
fork)
  echo ".model fork_$n"
  printf '.inputs'; for ((i = 1; i <= n; i++)); do printf ' a%d' $i; done; echo
  printf '.outputs x'; for ((i = 1; i <= n; i++)); do printf ' r%d' $i; done; echo
  echo ".graph"
  for ((i = 1; i <= n; i++)); do
    echo "x+ r$i+"; echo "r$i+ a$i+"; echo "a$i+ r$i-"; echo "r$i- a$i-"; echo "a$i- x-"
  done
  echo "x- p0"; echo "p0 x+"
  echo ".marking { p0 }"
  echo ".end"
  ;;
vme)
  echo ".model vme_$n"
  printf '.inputs'; for ((i = 1; i <= n; i++)); do printf ' dsr%d ldtack%d' $i $i; done; echo
  printf '.outputs'; for ((i = 1; i <= n; i++)); do printf ' lds%d d%d' $i $i; done; echo
  echo ".graph"
  for ((i = 1; i <= n; i++)); do
    echo "dsr$i+ lds$i+"; echo "dsr$i- lds$i-"; echo "dsr$i- d$i-"; echo "ldtack$i+ d$i+"
    echo "ldtack$i- lds$i+"; echo "lds$i+ ldtack$i+"; echo "lds$i- ldtack$i-"; echo "d$i+ dsr$i-"
    echo "d$i- dsr$i+"
  done
  printf '.marking {'; for ((i = 1; i <= n; i++)); do printf ' <ldtack%d-,lds%d+> <d%d-,dsr%d+>' $i $i $i $i; done; echo ' }'
  echo ".end"
  ;;
*) echo "unknown family $family" >&2; exit 2 ;;
esac
