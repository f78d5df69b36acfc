#!/bin/bash
# Scalable Petri net families in the .g text form (all transitions dummies), for the
# unfolding benchmarks.
# Usage: bench/unfold/net_family.sh philosophers N  (N dining philosophers, each taking
#                                                    either fork first; deadlocks when all
#                                                    hold one fork)
#        bench/unfold/net_family.sh ring N          (a token passed around N cells, each of
#                                                    which works on its own between passes)
#        bench/unfold/net_family.sh readers N       (N readers and one writer, each start and
#                                                    end of a read synchronised with a counter
#                                                    of active readers; the writer needs it at
#                                                    zero: most events are cut-offs)
set -eu
family=$1
n=$2
transitions() {
  printf '.dummy'
  for ((i = 0; i < n; i++)); do for t in "$@"; do printf ' %s%d' "$t" $i; done; done
  echo
}
case $family in
philosophers)
  echo ".model philosophers_$n"
  transitions left right leftthenright rightthenleft release
  echo ".graph"
  for ((i = 0; i < n; i++)); do
    j=$(((i + 1) % n))
    echo "think$i left$i right$i"; echo "fork$i left$i rightthenleft$i"; echo "fork$j right$i leftthenright$i"
    echo "left$i hasleft$i"; echo "right$i hasright$i"
    echo "hasleft$i leftthenright$i"; echo "hasright$i rightthenleft$i"
    echo "leftthenright$i eat$i"; echo "rightthenleft$i eat$i"
    echo "eat$i release$i"; echo "release$i think$i fork$i fork$j"
  done
  printf '.marking {'; for ((i = 0; i < n; i++)); do printf ' think%d fork%d' $i $i; done; echo ' }'
  ;;
ring)
  echo ".model ring_$n"
  transitions work pass
  echo ".graph"
  for ((i = 0; i < n; i++)); do
    j=$(((i + 1) % n))
    echo "idle$i work$i"; echo "work$i busy$i"
    echo "busy$i pass$i"; echo "token$i pass$i"; echo "pass$i idle$i token$j"
  done
  printf '.marking {token0'; for ((i = 0; i < n; i++)); do printf ' idle%d' $i; done; echo ' }'
  ;;
readers)
  # count_k: k readers active. Every transition takes the counter, so the prefix is close to
  # the tree of the 2^N + 1 states with one cut-off per other step out of each.
  echo ".model readers_$n"
  printf '.dummy write endwrite'
  for ((i = 0; i < n; i++)); do for ((k = 0; k < n; k++)); do printf ' read%d_%d endread%d_%d' $i $k $i $k; done; done
  echo
  echo ".graph"
  for ((i = 0; i < n; i++)); do
    for ((k = 0; k < n; k++)); do
      echo "idle$i read${i}_$k"; echo "count$k read${i}_$k"; echo "read${i}_$k reading$i count$((k + 1))"
      echo "reading$i endread${i}_$k"; echo "count$((k + 1)) endread${i}_$k"; echo "endread${i}_$k idle$i count$k"
    done
  done
  echo "count0 write"; echo "write writing"; echo "writing endwrite"; echo "endwrite count0"
  printf '.marking { count0'; for ((i = 0; i < n; i++)); do printf ' idle%d' $i; done; echo ' }'
  ;;
*)
  echo "unknown family $family" >&2
  exit 2
  ;;
esac
echo ".end"
