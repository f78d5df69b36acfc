# Only inputs: nothing to implement.
.model inputs_only
.inputs a
.graph
a+ a-
a- a+
.marking {<a-,a+>}
.end
