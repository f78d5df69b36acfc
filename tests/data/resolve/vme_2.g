# bench/stg_family.sh vme 2: two VME read controllers side by side, two separate conflicts
.model vme_2
.inputs dsr1 ldtack1 dsr2 ldtack2
.outputs lds1 d1 lds2 d2
.graph
dsr1+ lds1+
dsr1- lds1-
dsr1- d1-
ldtack1+ d1+
ldtack1- lds1+
lds1+ ldtack1+
lds1- ldtack1-
d1+ dsr1-
d1- dsr1+
dsr2+ lds2+
dsr2- lds2-
dsr2- d2-
ldtack2+ d2+
ldtack2- lds2+
lds2+ ldtack2+
lds2- ldtack2-
d2+ dsr2-
d2- dsr2+
.marking { <ldtack1-,lds1+> <d1-,dsr1+> <ldtack2-,lds2+> <d2-,dsr2+> }
.end
