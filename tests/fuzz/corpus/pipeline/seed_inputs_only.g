# Inputs only: a+ a- b+ b- in a cycle. The codes before a+ and after a- are equal.
.model inputs_only
.inputs a b
.graph
a+ a-
a- b+
b+ b-
b- a+
.marking {<b-,a+>}
.end
