using Xunit;

// A case may end the native library of the whole process.
[assembly: CollectionBehavior(DisableTestParallelization = true)]

namespace Bx.Tests {
    public class UnderXunit {
        public static readonly TheoryData<string> Names = new TheoryData<string>(Cases.All.Keys);

        [Theory, MemberData(nameof(Names))]
        public void Holds(string name) => Cases.All[name]();
    }
}
