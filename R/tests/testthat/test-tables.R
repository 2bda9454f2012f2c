# Parents of 2, 3 and 4 states, whose order in the file is not that of the alphabet. The utility of
# each combination says which it is: 100 times the state of Z, 10 times that of A, and that of M.
three_parents <- function() {
    values <- outer(outer(1:4, 10 * 1:3, "+"), 100 * 1:2, "+")
    rows <- vapply(values, function(v) paste(v / 1000, 1 - v / 1000 - 0.125, 0.125), "")
    node <- function(name, states) {
        sprintf("node %s { states = (%s); }\npotential (%s) { data = (%s); }", name,
                paste0('"', tolower(name), seq_len(states), '"', collapse = " "), name,
                paste(rep(1 / states, states), collapse = " "))
    }
    c("net {}", node("Z", 2), node("A", 3), node("M", 4),
      'node Child { states = ("x" "y" "z"); }\nutility Worth { }',
      sprintf("potential (Child | Z A M) { data = (%s); }", paste(rows, collapse = " ")),
      sprintf("potential (Worth | Z A M) { data = (%s); }", paste(values, collapse = " ")))
}

test_that("arrays have the node first, then its parents in the file's order", {
    net <- quiet(read_net(file_of(three_parents())))
    child <- net$nodes$Child
    expect_identical(child$parents, c("Z", "A", "M"))
    expect_identical(dimnames(child$prob),
                     list(Child = c("x", "y", "z"), Z = c("z1", "z2"), A = c("a1", "a2", "a3"),
                          M = c("m1", "m2", "m3", "m4")))
    for (z in 1:2) for (a in 1:3) for (m in 1:4) {
        value <- 100 * z + 10 * a + m
        expect_equal(unname(child$prob[, z, a, m]), c(value / 1000, 0.875 - value / 1000, 0.125))
        expect_equal(net$nodes$Worth$utility[z, a, m], value)
    }
    x <- suppressMessages(as_bnlearn(net, drop = TRUE))
    expect_identical(expect_fits(x)$Child, c("A", "M", "Z"))
    for (a in c("a1", "a3")) for (m in c("m2", "m4"))
        expect_equal(x$dist$Child[, a, m, "z2"], child$prob[, "z2", a, m])
    # The other way, with the dimensions in bnlearn's order.
    net$nodes$Child$prob <- x$dist$Child
    file <- file_of("")
    write_net(net, file, "net", force = TRUE)
    expect_equal(quiet(read_net(file))$nodes$Child$prob, child$prob)
})

test_that("probabilities are what people wrote, and sum to 1 as doubles", {
    texts <- c("0.59 0.4067 0.0033", "0.333333343 0.333333343 0.333333343", "0.1 0.2 0.7",
               "0.16666667 0.16666667 0.6666667", "0.333 0.333 0.333", "1 0 0")
    for (text in texts) {
        prob <- quiet(read_net(file_of(sprintf(
            'net {}\nnode A { states = ("a" "b" "c"); }\npotential (A) { data = (%s); }', text
        )), strict = TRUE))$nodes$A$prob
        written <- scan(text = text, quiet = TRUE)
        expect_equal(unname(c(prob)), written / sum(written), tolerance = 1e-7, info = text)
        expect_lt(abs(sum(prob) - 1), 1e-15)
    }
})

test_that("bnlearn gets what it can take, and the rest is told", {
    for (file in samples()) {
        net <- quiet(read_net(file, normalize = TRUE))
        x <- tryCatch(suppressMessages(as_bnlearn(net, drop = TRUE, uniform = TRUE)),
                      error = function(e) expect_match(conditionMessage(e), "no node is left"))
        if (is.list(x) && !is.null(x$dist)) expect_fits(x)
    }
    net <- quiet(read_net(file_of(c(
        'net {}\ndecision D { states = ("do" "not"); }\nnode A { states = ("a" "b"); }',
        'node B { states = ("a" "b"); }\nnode C { states = ("a" "b"); }',
        "potential (A) { data = (0.5 0.5); }\npotential (B | D) { data = (1 0 0 1); }",
        "potential (C | A) { data = (0 0 0.25 0.75); }"))))
    expect_error(as_bnlearn(net), "D \\(decision\\)")
    expect_error(suppressMessages(as_bnlearn(net, drop = TRUE)), "'C': 1 of 2 combinations")
    expect_message(x <- as_bnlearn(net, drop = TRUE, uniform = TRUE), "left out: D, B")
    expect_identical(x$string, "[A][C|A]")
    expect_equal(unname(x$dist$C[, "a"]), c(0.5, 0.5))
    net$nodes$C$prob[, "a"] <- c(0.5, 0.25)
    expect_error(suppressMessages(as_bnlearn(net, drop = TRUE)), "'C': .* do not sum to 1")
})
