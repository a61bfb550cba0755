# Makes a test of each C++ example of a page.
/^```cpp$/ { print "TEST(MathDocumentation, Example" ++examples ") {"; inside = 1; next }
/^```$/ && inside { print "}"; inside = 0 }
inside
END { print "constexpr int exampleCount = " examples + 0 ";" }
