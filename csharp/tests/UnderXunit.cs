using System.Linq;
using Xunit;

// Cases begin and end the native library of the process.
[assembly: CollectionBehavior(DisableTestParallelization = true)]

namespace Bx.Tests
{
    public class UnderXunit
    {
        public static readonly TheoryData<string> Names = new TheoryData<string>(Cases.All.Select(one => one.Name));

        [Theory, MemberData(nameof(Names))]
        public void Holds(string name)
        {
            Cases.All.Single(one => one.Name == name).Run();
        }
    }
}
